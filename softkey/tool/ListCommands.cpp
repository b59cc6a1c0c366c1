// Looking: list, show, status.
#include <ctime>

#include "Commands.h"
#include "Shared.h"
#include "base/Failure.h"
#include "base/Wide.h"
#include "registration/BackendRegistration.h"

namespace kzr::softkey::tool {
namespace {

// Numbers of CertificateField.
constexpr int kSerial = 2, kIssuerName = 8, kFrom = 11, kUntil = 12, kCommonName = 17;

const char* NameOf(Validity validity)
{
    switch (validity) {
        case Validity::Valid:
            return "valid";
        case Validity::Untrusted:
            return "untrusted";
        case Validity::OutsideDates:
            return "outside its dates";
        case Validity::Revoked:
            return "revoked";
        case Validity::Unreadable:
            break;
    }
    return "unreadable";
}

Json CertificateJson(const Certificate& certificate, const TrustStore& trust)
{
    return {{"subject", CertificateField(certificate, kCommonName)},
            {"issuer", CertificateField(certificate, kIssuerName)},
            {"serialNumber", CertificateField(certificate, kSerial)},
            {"validFrom", CertificateField(certificate, kFrom)},
            {"validUntil", CertificateField(certificate, kUntil)},
            {"validity", NameOf(trust.Check(certificate, std::time(nullptr)))}};
}

Json DescriptionJson(const Device& device, bool plugged)
{
    const DeviceDescription& description = device.Description();
    return {{"serialNumber", description.serialNumber},
            {"plugged", plugged},
            {"type", description.type},
            {"library", description.extensionLibrary},
            {"provider", description.provider}};
}

std::string Padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

void AddKey(Report& report, const Device& device, bool plugged, std::vector<std::string>& unreadable)
{
    Json key = DescriptionJson(device, plugged);
    std::string line =
        Padded(device.Description().serialNumber, 20) + (plugged ? "  plugged    " : "  unplugged  ");
    std::string separator;
    key["containers"] = Json::array();
    for (const ContainerDescription& container : device.Containers(&unreadable)) {
        line +=
            separator + container.user + " (" + tool::NameOf(container.type) + ", " + container.name + ")";
        separator = ", ";
        key["containers"].push_back({{"name", container.name},
                                     {"user", container.user},
                                     {"type", tool::NameOf(container.type)},
                                     {"exchange", container.exchange.has_value()}});
    }
    report.text += line + "\n";
    report.json["keys"].push_back(std::move(key));
}

std::string CertificateText(const char* what, const Json& json)
{
    const auto text = [&](const char* name) { return json.at(name).get<std::string>(); };
    return std::string("    ") + what + "  " + text("subject") + ", issued by " + text("issuer") + "\n" +
           "              " + text("validFrom") + " to " + text("validUntil") + ", " + text("validity") +
           ", serial number " + text("serialNumber") + "\n";
}

void AddContainer(Report& report, const ContainerDescription& container, const TrustStore& trust)
{
    Json json = {{"name", container.name},
                 {"user", container.user},
                 {"type", tool::NameOf(container.type)},
                 {"signing", CertificateJson(container.signing, trust)}};
    report.text += "  " + container.name + "  " + container.user + "  " + tool::NameOf(container.type) +
                   "\n" + CertificateText("signing ", json["signing"]);
    if (container.exchange) {
        json["exchange"] = CertificateJson(*container.exchange, trust);
        report.text += CertificateText("exchange", json["exchange"]);
    }
    report.json["containers"].push_back(std::move(json));
}

void AddUnreadable(Report& report, const std::vector<std::string>& unreadable)
{
    report.json["unreadable"] = unreadable;
    for (const std::string& line : unreadable) report.text += "unreadable: " + line + "\n";
}

}  // namespace

Report List(const Options& options)
{
    const Store store = OpenStore(options);
    Report report;
    report.json = {{"store", store.Root()}, {"keys", Json::array()}};
    std::vector<std::string> unreadable;
    for (const bool plugged : {true, false}) {
        for (const Device& device : plugged ? store.Plugged(&unreadable) : store.Parked(&unreadable)) {
            try {
                AddKey(report, device, plugged, unreadable);
            } catch (const Failure& failure) {
                // Pulled or removed while we looked.
                if (failure.Why() != Cause::UnknownKey) throw;
            }
        }
    }
    if (report.text.empty()) report.text = "There are no keys in " + store.Root() + "\n";
    AddUnreadable(report, unreadable);
    return report;
}

Report Show(const Options& options)
{
    const Store store = OpenStore(options);
    const Device device = FindKey(store, options.serialNumber);
    const DeviceDescription& description = device.Description();
    const bool plugged = IsPlugged(store, options.serialNumber);
    const TrustStore trust = store.Trust();
    Report report;
    report.json = DescriptionJson(device, plugged);
    const int left = device.TriesLeft(), adminLeft = device.AdminTriesLeft();
    report.json["triesLeft"] = left;
    report.json["adminTriesLeft"] = adminLeft;
    report.json["containers"] = Json::array();
    report.text = "Key " + description.serialNumber + (plugged ? ", plugged\n" : ", unplugged\n") +
                  "  type " + description.type + ", library " + description.extensionLibrary + ", CSP " +
                  description.provider + "\n  PIN tries left: " + std::to_string(left) +
                  ", administrator's: " + std::to_string(adminLeft) + "\n";
    std::vector<std::string> unreadable;
    for (const ContainerDescription& container : device.Containers(&unreadable))
        AddContainer(report, container, trust);
    report.json["files"] = device.DataNames();
    for (const std::string& name : device.DataNames()) report.text += "  file " + name + "\n";
    AddUnreadable(report, unreadable);
    return report;
}

Report Status(const Options& options)
{
    const Store store = OpenStore(options);
    const auto holder = HolderOfBackendClass();
    Report report;
    report.json = {{"store", store.Root()},
                   {"backend", holder ? Json(ToUtf8(*holder)) : Json(nullptr)},
                   {"registered", BackendIsOurs()}};
    report.text = "Keys lie in " + store.Root() + "\n";
    if (!holder) {
        report.text += "No server is registered as the backend\n";
    } else {
        report.text +=
            (BackendIsOurs() ? "The software key is the backend: " : "Another server is the backend: ") +
            ToUtf8(*holder) + "\n";
    }
    return report;
}

}  // namespace kzr::softkey::tool
