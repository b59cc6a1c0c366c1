// Certificates: exporting them from a key, reading their fields, checking them.
#include "base/Failure.h"
#include "server/Methods.h"
#include "server/Selected.h"
#include "server/UserConfig.h"

namespace kzr::softkey {

Answer SetUserConfig(const Arguments& arguments, ControlState&)
{
    constexpr int kRevocationList = 5;
    constexpr int kChain = 6;
    // Clients switch off a feature by it that this key does not have.
    constexpr int kAlwaysAccepted = 8;
    switch (arguments.Number(0)) {
        case kRevocationList:
            return Answer::Truth(UserConfig::SetRevocationList(arguments.Text(1)));
        case kChain:
            return Answer::Truth(UserConfig::SetChain(arguments.Text(1)));
        default:
            return Answer::Truth(arguments.Number(0) == kAlwaysAccepted);
    }
}

Answer ExportUserCert(const Arguments& arguments, ControlState&)
{
    return Answer::Text(Select(arguments.Text(0)).container.signing.Text());
}

Answer ExportExChangeUserCert(const Arguments& arguments, ControlState&)
{
    const Selected selected = Select(arguments.Text(0));
    return Answer::Text(selected.container.exchange ? selected.container.exchange->Text() : std::string());
}

Answer GetCertInfo(const Arguments& arguments, ControlState&)
{
    return Answer::Text(CertificateField(Certificate::FromText(arguments.Text(0)), arguments.Number(1)));
}

Answer GetCertInfoByOid(const Arguments& arguments, ControlState&)
{
    return Answer::Text(CertificateFieldByOid(Certificate::FromText(arguments.Text(0)), arguments.Text(1)));
}

Answer GetCertEntity(const Arguments& arguments, ControlState&)
{
    return Answer::Text(CertificateEntity(Certificate::FromText(arguments.Text(0))));
}

Answer ValidateCert(const Arguments& arguments, ControlState&)
{
    Certificate certificate;
    try {
        certificate = Certificate::FromText(arguments.Text(0));
    } catch (const Failure& failure) {
        if (failure.Why() != Cause::BadData) throw;
        return Answer::Number(static_cast<int>(Validity::Unreadable));
    }
    TrustStore trust = OpenStore().Trust();
    UserConfig::AddTo(trust);
    return Answer::Number(static_cast<int>(trust.Check(certificate, std::time(nullptr))));
}

}  // namespace kzr::softkey
