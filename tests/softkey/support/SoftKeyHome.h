// A folder of virtual keys for one test, made through the store as the tool makes them, and the software key
// pointed to it by KZR_SOFTKEY_HOME.
//
//     SN01  "VKEY" "EXT1" "CSP1"   c1  Alice  SM2, with an exchange pair; its issuer is trusted
//                                  c3  Carol  RSA, with an exchange pair; only an intermediate leads to a
//                                  root
//     SN02  "VKEY" "EXT2" "CSP2"   c2  U+738B U+4E94  RSA, signing only; revoked by kList
#pragma once

#include <string>

#include "store/Store.h"
#include "support/TempFolder.h"

namespace kzr::test {

inline constexpr char kPin[] = "123456";
inline constexpr wchar_t kWidePin[] = L"123456";
inline constexpr char kAdminPin[] = "87654321";
inline constexpr wchar_t kAlice[] = L"c1/SN01";
inline constexpr wchar_t kCarol[] = L"c3/SN01";
inline constexpr wchar_t kWang[] = L"c2/SN02";
inline constexpr wchar_t kWangsName[] = L"\x738B\x4E94";

class SoftKeyHome {
  public:
    SoftKeyHome();
    ~SoftKeyHome();
    SoftKeyHome(const SoftKeyHome&) = delete;
    SoftKeyHome& operator=(const SoftKeyHome&) = delete;

    softkey::Store Store() const;
    const std::wstring& Path() const { return m_folder.Path(); }
    // A file beside the keys.
    std::wstring operator/(const wchar_t* name) const { return m_folder / name; }
    void WriteFile(const wchar_t* name, const std::string& content) const;
    std::string ReadFile(const wchar_t* name) const;
    bool HasFile(const wchar_t* name) const;

    void Pull(const char* serialNumber) const { Store().Unplug(serialNumber); }
    void Plug(const char* serialNumber) const { Store().Plug(serialNumber); }

  private:
    TempFolder m_folder;
};

// Of the certificates above, the same in every test of a process.
struct TestCertificates {
    std::string chain;  // PEM of the intermediate that Carol's needs
    std::string list;   // DER of the revocation list that names the one on SN02
    std::string past;   // Base64 of one that has ended, and of one that nobody issued
    std::string stray;
};
const TestCertificates& Certificates();

std::wstring Widened(const std::string& utf8);

}  // namespace kzr::test
