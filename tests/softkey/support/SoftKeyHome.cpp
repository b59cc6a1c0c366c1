#include "softkey/support/SoftKeyHome.h"

#include <gtest/gtest.h>

#include "base/Bytes.h"
#include "crypto/Keys.h"
#include "x509/Authority.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

std::string Utf8(const std::wstring& wide)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0,
                                         nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), utf8.data(), size, nullptr,
                        nullptr);
    return utf8;
}

Subject Named(const std::string& commonName)
{
    Subject subject;
    subject.country = "CN";
    subject.organization = "Test Works";
    subject.unit = "Unit of " + commonName;
    subject.commonName = commonName;
    subject.locality = "Town";
    subject.email = "someone@example.org";
    return subject;
}

// Made once in a process: key pairs take their time.
struct Template {
    KeyHandle sm2RootKey = GenerateKey(KeyType::Sm2);
    KeyHandle rsaRootKey = GenerateKey(KeyType::Rsa);
    KeyHandle authorityKey = GenerateKey(KeyType::Rsa);
    Certificate sm2Root = MakeRoot(sm2RootKey.get(), Named("SM2 Root"), 3650);
    Certificate rsaRoot = MakeRoot(rsaRootKey.get(), Named("RSA Root"), 3650);
    Certificate authority =
        IssueAuthority({rsaRoot, rsaRootKey.get()}, authorityKey.get(), Named("RSA Authority"), 1825);
    TempFolder folder;
    TestCertificates certificates;

    Template();
    NewContainer Container(const char* name, const std::string& user, const Issuer& issuer, KeyType type,
                           bool exchange) const;
    void Trust(const wchar_t* name, const Certificate& certificate) const;
};

NewContainer Template::Container(const char* name, const std::string& user, const Issuer& issuer,
                                 KeyType type, bool exchange) const
{
    Subject subject = Named(user);
    subject.identity = std::string("ID of ") + name;
    const KeyHandle signing = GenerateKey(type);
    NewContainer made{
        {name, user, type, IssueUser(issuer, signing.get(), subject, Usage::Signing, -1, 365), {}},
        PrivateKeyToDer(signing.get()),
        {}};
    if (!exchange) return made;
    const KeyHandle pair = GenerateKey(type);
    made.description.exchange = IssueUser(issuer, pair.get(), subject, Usage::Exchange, -1, 365);
    made.exchangeKey = PrivateKeyToDer(pair.get());
    return made;
}

void WriteBytes(const std::wstring& path, const std::string& content)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr))
        << "error " << GetLastError();
    CloseHandle(file);
}

void Template::Trust(const wchar_t* name, const Certificate& certificate) const
{
    CreateDirectoryW((folder / L"trust").c_str(), nullptr);
    WriteBytes(folder / L"trust\\" + name, certificate.Pem());
}

Template::Template()
{
    const Issuer sm2{sm2Root, sm2RootKey.get()}, rsa{rsaRoot, rsaRootKey.get()};
    softkey::Store store(Utf8(folder.Path()));
    store.Create({"SN01", "VKEY", "EXT1", "CSP1"}, {kPin, kAdminPin, 10},
                 {Container("c1", "Alice", sm2, KeyType::Sm2, true),
                  Container("c3", "Carol", {authority, authorityKey.get()}, KeyType::Rsa, true)});
    const NewContainer wang = Container("c2", Utf8(kWangsName), rsa, KeyType::Rsa, false);
    store.Create({"SN02", "VKEY", "EXT2", "CSP2"}, {kPin, kAdminPin, 10}, {wang});
    Trust(L"sm2.pem", sm2Root);
    Trust(L"rsa.pem", rsaRoot);

    certificates.chain = authority.Pem();
    const Bytes list = MakeRevocationList(rsa, {CertificateField(wang.description.signing, 2)}, 30);
    certificates.list.assign(TextOf(list));
    const KeyHandle key = PrivateKeyFromDer(wang.signingKey);
    certificates.past = IssueUser(rsa, key.get(), Named("Past"), Usage::Signing, -20, 10).Text();
    certificates.stray = MakeRoot(key.get(), Named("Stray"), 30).Text();
}

const Template& TheTemplate()
{
    static const Template made;
    return made;
}

void CopyAll(const std::wstring& from, const std::wstring& to)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((from + L"*").c_str(), &found);
    ASSERT_NE(INVALID_HANDLE_VALUE, search);
    do {
        const std::wstring name(found.cFileName);
        if (name == L"." || name == L"..") continue;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            CreateDirectoryW((to + name).c_str(), nullptr);
            CopyAll(from + name + L"\\", to + name + L"\\");
        } else {
            EXPECT_TRUE(CopyFileW((from + name).c_str(), (to + name).c_str(), TRUE)) << GetLastError();
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

}  // namespace

SoftKeyHome::SoftKeyHome()
{
    CopyAll(TheTemplate().folder.Path(), m_folder.Path());
    SetEnvironmentVariableW(L"KZR_SOFTKEY_HOME", m_folder.Path().c_str());
}

SoftKeyHome::~SoftKeyHome() { SetEnvironmentVariableW(L"KZR_SOFTKEY_HOME", nullptr); }

softkey::Store SoftKeyHome::Store() const { return softkey::Store(Utf8(m_folder.Path())); }

void SoftKeyHome::WriteFile(const wchar_t* name, const std::string& content) const
{
    WriteBytes(m_folder / name, content);
}

std::string SoftKeyHome::ReadFile(const wchar_t* name) const
{
    const HANDLE file = CreateFileW((m_folder / name).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    std::string content(GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    EXPECT_TRUE(::ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &read, nullptr))
        << "error " << GetLastError();
    CloseHandle(file);
    return content;
}

bool SoftKeyHome::HasFile(const wchar_t* name) const
{
    return GetFileAttributesW((m_folder / name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

const TestCertificates& Certificates() { return TheTemplate().certificates; }

std::wstring Widened(const std::string& utf8)
{
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), size);
    return wide;
}

}  // namespace kzr::test
