// Certificates: export, ca export, revoke.
#include "Commands.h"
#include "ExitCodes.h"
#include "Shared.h"
#include "TestAuthority.h"
#include "base/Failure.h"
#include "base/File.h"

namespace kzr::softkey::tool {
namespace {

struct Chosen {
    std::string container;
    const char* pair;
    Certificate certificate;
};

std::vector<Chosen> Choose(const Options& options, const Device& device)
{
    std::vector<Chosen> chosen;
    for (const ContainerDescription& container : device.Containers()) {
        if (!options.container.empty() && container.name != options.container) continue;
        if (options.pair != "exchange") chosen.push_back({container.name, "signing", container.signing});
        if (options.pair != "signing" && container.exchange)
            chosen.push_back({container.name, "exchange", *container.exchange});
    }
    if (chosen.empty())
        throw Failure(Cause::UnknownContainer,
                      "the key " + options.serialNumber + " has no such certificate");
    return chosen;
}

Bytes Formatted(const std::vector<Chosen>& chosen, TextForm form)
{
    if (form == TextForm::Der) {
        if (chosen.size() == 1) return chosen.front().certificate.Der();
        throw ToolError(kUsage, "DER holds one certificate: choose it with --container and --pair");
    }
    std::string text;
    for (const Chosen& one : chosen)
        text += form == TextForm::Pem ? one.certificate.Pem() : one.certificate.Text() + "\n";
    return Bytes(text.begin(), text.end());
}

TestAuthority OpenAuthority(const Options& options, const Store& store)
{
    return TestAuthority(
        store.Root(), options.authority, options.rsaBits,
        [&](const std::function<void()>& make) { Progress(options.quiet).Step("Making the test CA", make); });
}

ContainerDescription FindContainer(const Store& store, const std::string& name)
{
    for (const auto& devices : {store.Plugged(), store.Parked()}) {
        for (const Device& device : devices) {
            for (ContainerDescription& container : device.Containers()) {
                if (container.name == name) return std::move(container);
            }
        }
    }
    throw Failure(Cause::UnknownContainer, "no key has a container \"" + name + "\"");
}

}  // namespace

Report Export(const Options& options)
{
    const Device device = FindKey(OpenStore(options), options.serialNumber);
    const std::vector<Chosen> chosen = Choose(options, device);
    Report report;
    report.json["certificates"] = Json::array();
    for (const Chosen& one : chosen)
        report.json["certificates"].push_back(
            {{"container", one.container}, {"pair", one.pair}, {"certificate", one.certificate.Text()}});
    const Bytes content = Formatted(chosen, options.form);
    if (!options.output.empty()) {
        CheckMayWrite(options.output, options.force);
        WriteWholeFile(options.output, content);
        report.json["file"] = options.output;
        report.text =
            "Wrote " + std::to_string(chosen.size()) + " certificate(s) to " + options.output + "\n";
    } else if (!options.json) {
        PrintBytes(content);
    }
    return report;
}

Report ExportAuthority(const Options& options)
{
    const Store store = OpenStore(options);
    if (!options.output.empty()) CheckMayWrite(options.output, options.force);
    if (!options.listOutput.empty()) CheckMayWrite(options.listOutput, options.force);
    const TestAuthority authority = OpenAuthority(options, store);
    const std::string chain = authority.ChainPem(), list = authority.ListPem();
    if (!options.output.empty()) WriteWholeFile(options.output, ViewOf(chain));
    if (!options.listOutput.empty()) WriteWholeFile(options.listOutput, ViewOf(list));
    Report report;
    report.json = {{"type", NameOf(options.authority)}, {"chain", chain}, {"revocationList", list}};
    if (!options.output.empty()) report.text += "Wrote the chain to " + options.output + "\n";
    if (!options.listOutput.empty())
        report.text += "Wrote the revocation list to " + options.listOutput + "\n";
    if (report.text.empty()) report.text = chain + list;
    return report;
}

Report Revoke(const Options& options)
{
    const Store store = OpenStore(options);
    const ContainerDescription container = FindContainer(store, options.container);
    Options of = options;
    of.authority = container.type;
    if (!TestAuthority::Exists(store.Root(), container.type))
        throw ToolError(kUnknown, "this store has no test CA that could have issued it");
    TestAuthority authority = OpenAuthority(of, store);
    std::vector<Certificate> certificates{container.signing};
    if (container.exchange) certificates.push_back(*container.exchange);
    for (const Certificate& certificate : certificates) {
        if (!authority.HasIssued(certificate))
            throw ToolError(kUnknown, "the test CA of this store did not issue the certificate of \"" +
                                          options.container + "\"");
    }
    Report report;
    report.json = {{"container", options.container}, {"revoked", Json::array()}};
    for (const Certificate& certificate : certificates) {
        const std::string serial = CertificateField(certificate, 2);
        const bool isNew = authority.Revoke(certificate);
        report.text += serial + (isNew ? " is revoked now\n" : " was revoked already\n");
        report.json["revoked"].push_back({{"serialNumber", serial}, {"changed", isNew}});
    }
    return report;
}

}  // namespace kzr::softkey::tool
