// Fuzzer: any bytes are a certificate with fields, or a Failure that says they are bad data.
#include <cstdlib>
#include <ctime>

#include "base/Failure.h"
#include "x509/Validation.h"

namespace {

using namespace kzr::softkey;

template <typename Action>
void BadDataAtMost(Action action)
{
    try {
        action();
    } catch (const Failure& failure) {
        if (failure.Why() != Cause::BadData) {
            std::abort();
        }
    }
}

void Check(const Certificate& certificate)
{
    constexpr int kFields = 20;
    for (int type = 1; type <= kFields; ++type) {
        BadDataAtMost([&] { CertificateField(certificate, type); });
    }
    for (int i = 0; i < X509_get_ext_count(certificate.Get()); ++i) {
        char oid[200];
        const int size =
            OBJ_obj2txt(oid, sizeof oid, X509_EXTENSION_get_object(X509_get_ext(certificate.Get(), i)), 1);
        // Beyond 128 characters it is refused as an argument.
        if (size > 0 && size <= 128) {
            BadDataAtMost([&] { CertificateFieldByOid(certificate, oid); });
        }
    }
    BadDataAtMost([&] { CertificateEntity(certificate); });

    if (certificate.Der() != Certificate::FromText(certificate.Text()).Der() ||
        certificate.Der() != Certificate::FromText(certificate.Pem()).Der()) {
        std::abort();
    }
    TrustStore store;
    const Bytes der = certificate.Der();
    store.AddCertificates(der, true);
    store.Check(certificate, 1'700'000'000);
    if (TrustStore().Check(certificate, 1'700'000'000) == Validity::Valid) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const View bytes(data, size);
    Certificate certificate;
    BadDataAtMost([&] { certificate = Certificate::FromDer(bytes); });
    if (certificate) {
        Check(certificate);
    }
    BadDataAtMost([&] { Check(Certificate::FromText(TextOf(bytes))); });
    BadDataAtMost([&] { TrustStore().AddCertificates(bytes, true); });
    return 0;
}
