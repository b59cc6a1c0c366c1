// Does one thing with certificates, chains, PKCS#12 files or XML signatures, so that a script can hand the
// outcome to tools of others, and theirs to us.
// Exits with 0 when it was done or is true, with 1 when it is false, with 2 for a bad call, and with 3 when
// the software key refused, which it says on the error stream.
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>

#include "base/Failure.h"
#include "base/File.h"
#include "x509/Authority.h"
#include "x509/Validation.h"
#include "xml/XmlSignature.h"

namespace {

using namespace kzr::softkey;

using Arguments = std::vector<std::string>;

struct Command {
    std::size_t arguments;
    const char* usage;
    std::function<bool(const Arguments&)> run;
};

std::string TextIn(const std::string& path) { return std::string(TextOf(ReadWholeFile(path))); }

Certificate CertificateIn(const std::string& path) { return Certificate::FromText(TextIn(path)); }

bool Put(const std::string& path, std::string_view content)
{
    WriteWholeFile(path, ViewOf(content));
    return true;
}

bool Put(const std::string& path, View content)
{
    WriteWholeFile(path, content);
    return true;
}

bool Print(const std::string& text)
{
    std::printf("%s\n", text.c_str());
    return true;
}

Subject Named(const std::string& name)
{
    Subject subject;
    subject.country = "CN";
    subject.organization = "\xE6\xB5\x8B\xE8\xAF\x95";
    subject.commonName = name;
    subject.identity = "ID-" + name;
    return subject;
}

bool MakeFamily(const Arguments& a)
{
    const KeyType type = a[0] == "sm2" ? KeyType::Sm2 : KeyType::Rsa;
    const std::string folder = a[1] + "/";
    const KeyHandle rootKey = GenerateKey(type);
    const KeyHandle betweenKey = GenerateKey(type);
    const KeyHandle userKey = GenerateKey(type);
    const Certificate root = MakeRoot(rootKey.get(), Named("Root"), 100);
    const Certificate between =
        IssueAuthority({root, rootKey.get()}, betweenKey.get(), Named("Between"), 100, 0);
    const Issuer issuer{between, betweenKey.get()};
    const auto user = [&](const char* name, Usage usage, int start) {
        const Certificate made = IssueUser(issuer, userKey.get(), Named(name), usage, start, 10);
        Put(folder + name + ".pem", made.Pem());
        return made;
    };
    user("user", Usage::Signing, 0);
    user("exchange", Usage::Exchange, 0);
    user("expired", Usage::Signing, -20);
    user("future", Usage::Signing, 5);
    const std::string revoked = CertificateField(user("revoked", Usage::Signing, 0), 2);
    return Put(folder + "root.pem", root.Pem()) && Put(folder + "between.pem", between.Pem()) &&
           Put(folder + "user.key", PrivateKeyToDer(userKey.get())) &&
           Put(folder + "between.crl", MakeRevocationList(issuer, {revoked}, 10)) &&
           Put(folder + "root.crl", MakeRevocationList({root, rootKey.get()}, {}, 10));
}

// Prints the answer. "-" stands for no list.
bool Validate(const Arguments& a)
{
    TrustStore store;
    store.AddCertificates(ReadWholeFile(a[1]), true);
    store.AddCertificates(ReadWholeFile(a[2]), false);
    if (a[3] != "-") {
        store.AddRevocationLists(ReadWholeFile(a[3]));
    }
    return Print(std::to_string(static_cast<int>(store.Check(CertificateIn(a[0]), std::time(nullptr)))));
}

bool ReadFile12(const Arguments& a)
{
    const Pkcs12 read = ReadPkcs12(ReadWholeFile(a[0]), a[1]);
    return Put(a[2], PrivateKeyToDer(read.key.get())) && Put(a[3], read.certificate.Pem()) &&
           Print(std::to_string(read.chain.size()));
}

const std::map<std::string, Command> kCommands = {
    {"make-family", {2, "sm2|rsa FOLDER", MakeFamily}},
    {"validate", {4, "CERT ANCHORS CHAIN CRL|-", Validate}},
    {"field",
     {2, "CERT TYPE", [](auto& a) { return Print(CertificateField(CertificateIn(a[0]), std::stoi(a[1]))); }}},
    {"field-by-oid",
     {2, "CERT OID", [](auto& a) { return Print(CertificateFieldByOid(CertificateIn(a[0]), a[1])); }}},
    {"entity", {1, "CERT", [](auto& a) { return Print(CertificateEntity(CertificateIn(a[0]))); }}},
    {"read-pkcs12", {4, "P12 PASSWORD KEY CERT", ReadFile12}},
    {"sign-xml",
     {4, "KEY CERT IN OUT",
      [](auto& a) {
          const KeyHandle key = PrivateKeyFromDer(ReadWholeFile(a[0]));
          return Put(a[3], SignXml(key.get(), CertificateIn(a[1]), TextIn(a[2])));
      }}},
    {"verify-xml", {1, "XML", [](auto& a) { return VerifyXml(TextIn(a[0])); }}},
    {"xml-field",
     {2, "XML TYPE", [](auto& a) { return Print(XmlSignatureField(TextIn(a[0]), std::stoi(a[1]))); }}},
};

int ShowCommands()
{
    for (const auto& [name, command] : kCommands) {
        std::fprintf(stderr, "%s %s\n", name.c_str(), command.usage);
    }
    return 2;
}

}  // namespace

int main(int count, char** values)
{
    const Arguments all(values + 1, values + count);
    const auto command = all.empty() ? kCommands.end() : kCommands.find(all[0]);
    if (command == kCommands.end() || command->second.arguments != all.size() - 1) {
        return ShowCommands();
    }
    try {
        return command->second.run(Arguments(all.begin() + 1, all.end())) ? 0 : 1;
    } catch (const Failure& failure) {
        std::fprintf(stderr, "cause %d: %s\n", static_cast<int>(failure.Why()), failure.what());
        return 3;
    }
}
