// The authorities' files: authority\sm2.json and authority\rsa.json hold everything, so that each change is
// one write; what applications are to trust is put into trust\ from there.
#include "TestAuthority.h"

#include <openssl/err.h>

#include <algorithm>

#define JSON_NO_IO
#include <nlohmann/json.hpp>

#include "Shared.h"
#include "base/Base64.h"
#include "base/Failure.h"
#include "base/File.h"
#include "store/FileLock.h"
#include "store/Folder.h"
#include "store/Layout.h"

namespace kzr::softkey::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kRootDays = 20 * 365;
constexpr int kIssuingDays = 10 * 365;
// Long, since nobody renews the list of a test authority.
constexpr int kListDays = 10 * 365;
constexpr std::size_t kFileLimit = 4 * 1024 * 1024;
constexpr int kFormat = 1;

std::string NameOfFile(KeyType type) { return type == KeyType::Sm2 ? "sm2" : "rsa"; }

std::string FileOf(const std::string& root, KeyType type)
{
    return root + "\\authority\\" + NameOfFile(type) + ".json";
}

std::string LockOf(const std::string& root)
{
    MakeFolder(root + "\\authority");
    return root + "\\authority\\authority.lock";
}

Subject NamedLike(const char* what, KeyType type)
{
    Subject subject;
    subject.country = "CN";
    subject.organization = "Software Key Test";
    subject.commonName = std::string("Software Key Test ") + what + " " + NameOf(type);
    return subject;
}

std::string Pem(const char* kind, const Bytes& der)
{
    const std::string text = Base64Encode(der);
    std::string pem = std::string("-----BEGIN ") + kind + "-----\n";
    for (std::size_t at = 0; at < text.size(); at += 64) pem += text.substr(at, 64) + "\n";
    return pem + "-----END " + kind + "-----\n";
}

std::string KeyText(const KeyHandle& key)
{
    const Secret der = PrivateKeyToDer(key.get());
    return Base64Encode(der);
}

}  // namespace

TestAuthority::TestAuthority(const std::string& storeRoot, KeyType type, int rsaBits,
                             const std::function<void(const std::function<void()>&)>& making)
    : m_root(storeRoot), m_type(type)
{
    if (Read()) return;
    // Outside of the lock, since it takes seconds; whoever comes second throws its own away.
    making([&] { Make(rsaBits); });
    const FileLock lock(LockOf(m_root));
    if (Read()) return;
    // What exists is trusted: were it written first, a crash would leave an authority that nobody publishes.
    Publish();
    Write();
}

bool TestAuthority::Exists(const std::string& storeRoot, KeyType type)
{
    return FileExists(FileOf(storeRoot, type));
}

void TestAuthority::Make(int rsaBits)
{
    m_anchor.key = GenerateKey(m_type, rsaBits);
    m_anchor.certificate = MakeRoot(m_anchor.key.get(), NamedLike("Root", m_type), kRootDays);
    m_issuing.key = GenerateKey(m_type, rsaBits);
    m_issuing.certificate = IssueAuthority({m_anchor.certificate, m_anchor.key.get()}, m_issuing.key.get(),
                                           NamedLike("CA", m_type), kIssuingDays);
}

bool TestAuthority::Read()
{
    const std::string path = FileOf(m_root, m_type);
    const auto content = ReadFileIfThere(path, kFileLimit);
    if (!content) return false;
    try {
        const Json json = Json::parse(content->begin(), content->end());
        if (json.at("format") != kFormat)
            throw Failure(Cause::BadData, path + ": written by another version");
        const auto read = [](const Json& from, Member& to) {
            to.certificate = Certificate::FromText(from.at("certificate").get_ref<const std::string&>());
            to.key = PrivateKeyFromDer(Base64Decode(from.at("key").get_ref<const std::string&>()));
        };
        read(json.at("root"), m_anchor);
        read(json.at("issuing"), m_issuing);
        m_revoked = json.at("revoked").get<std::vector<std::string>>();
    } catch (const Json::exception& error) {
        throw Failure(Cause::BadData, path + ": " + error.what());
    }
    return true;
}

void TestAuthority::Write() const
{
    const auto format = [](const Member& member) {
        return Json{{"certificate", member.certificate.Text()}, {"key", KeyText(member.key)}};
    };
    const Json json = {{"format", kFormat},
                       {"root", format(m_anchor)},
                       {"issuing", format(m_issuing)},
                       {"revoked", m_revoked}};
    RemoveTemporaries(m_root + "\\authority");
    WriteWholeFile(FileOf(m_root, m_type), ViewOf(json.dump(2) + "\n"));
}

void TestAuthority::Publish() const
{
    const std::string trust = TrustFolder(m_root);
    RemoveTemporaries(trust);
    WriteWholeFile(trust + "\\test-ca-" + NameOfFile(m_type) + ".pem", ViewOf(ChainPem()));
    WriteWholeFile(trust + "\\test-ca-" + NameOfFile(m_type) + ".crl", List());
}

Certificate TestAuthority::Issue(EVP_PKEY* key, const Subject& subject, Usage usage, int startDays,
                                 int days) const
{
    return IssueUser(Issuing(), key, subject, usage, startDays, days);
}

bool TestAuthority::HasIssued(const Certificate& certificate) const
{
    const bool named = X509_NAME_cmp(X509_get_issuer_name(certificate.Get()),
                                     X509_get_subject_name(m_issuing.certificate.Get())) == 0;
    const bool signedByIt = named && X509_verify(certificate.Get(), m_issuing.key.get()) == 1;
    ERR_clear_error();
    return signedByIt;
}

bool TestAuthority::Revoke(const Certificate& certificate)
{
    const FileLock lock(LockOf(m_root));
    // Another process may have added to it.
    Read();
    const std::string serial = CertificateField(certificate, 2);
    const bool isNew = std::find(m_revoked.begin(), m_revoked.end(), serial) == m_revoked.end();
    if (isNew) m_revoked.push_back(serial);
    Write();
    Publish();
    return isNew;
}

std::string TestAuthority::ChainPem() const
{
    return m_issuing.certificate.Pem() + m_anchor.certificate.Pem();
}

Bytes TestAuthority::List() const { return MakeRevocationList(Issuing(), m_revoked, kListDays); }

std::string TestAuthority::ListPem() const { return Pem("X509 CRL", List()); }

}  // namespace kzr::softkey::tool
