#include "fakes/BackendRules.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <sstream>

namespace kzr::fake {
namespace {

constexpr char kBuiltIn[] = R"(
CreateInstance = empty
SetUserConfig = i4 0
SOF_GetUserList = text Alice||c1/SN01&&&Bob||c2/SN02&&&
GetDeviceInfo(SN01, 9) = text CSP1
GetDeviceInfo(SN01, 8) = text EXT1
GetDeviceInfo(SN02, 9) = text CSP2
GetDeviceInfo(SN02, 8) = text EXT2
GetDeviceInfo(SN01, 7) = text HARD
GetDeviceInfo(SN02, 7) = text HARD
GetDeviceInfo = empty
GetAllDeviceSN = text SN01&&&SN02&&&
SOF_Login = bool true
SOF_ChangePassWd = bool true
SOF_GetPinRetryCount = i4 10
SOF_VerifySignedData = bool true
SOF_VerifySignedMessage = bool true
SOF_VerifySignedFile = bool true
SOF_VerifySignedDataXML = bool true
SOF_ValidateCert = i4 0
SOF_SetEncryptMethod = i4 0
SOF_GetEncryptMethod = i4 257
SOF_SymEncryptFile = bool true
SOF_SymDecryptFile = bool true
Base64DecodeFile = bool true
WriteFile = bool true
* = text {call}
)";

std::string ReadWhole(const wchar_t* path)
{
    std::string bytes;
    FILE* const file = _wfopen(path, L"rb");
    if (!file) return bytes;
    char block[4096];
    for (size_t read; (read = fread(block, 1, sizeof(block), file)) > 0;) bytes.append(block, read);
    fclose(file);
    return bytes;
}

std::wstring Wide(const std::string& utf8)
{
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), size);
    return wide;
}

std::wstring Trimmed(const std::wstring& text)
{
    const size_t first = text.find_first_not_of(L" \t\r");
    if (first == std::wstring::npos) return {};
    return text.substr(first, text.find_last_not_of(L" \t\r") - first + 1);
}

void ReadCall(const std::wstring& call, Rule& rule)
{
    const size_t open = call.find(L'(');
    rule.method = Trimmed(call.substr(0, open));
    if (open == std::wstring::npos) return;
    rule.hasArguments = true;
    std::wstring inside = call.substr(open + 1, call.rfind(L')') - open - 1);
    if (Trimmed(inside).empty()) return;
    for (size_t comma; (comma = inside.find(L',')) != std::wstring::npos; inside.erase(0, comma + 1))
        rule.arguments.push_back(Trimmed(inside.substr(0, comma)));
    rule.arguments.push_back(Trimmed(inside));
}

}  // namespace

BackendRules::BackendRules()
{
    wchar_t path[1024];
    const DWORD length = GetEnvironmentVariableW(L"KZR_TEST_BACKEND_RULES", path, 1024);
    if (length > 0 && length < 1024) Read(ReadWhole(path));
    Read(kBuiltIn);
}

void BackendRules::Read(const std::string& utf8)
{
    std::wistringstream lines(Wide(utf8));
    for (std::wstring line; std::getline(lines, line);) {
        line = Trimmed(line);
        const size_t equals = line.find(L" = ");
        if (line.empty() || line[0] == L'#' || equals == std::wstring::npos) continue;
        Rule rule;
        ReadCall(line.substr(0, equals), rule);
        const std::wstring answer = Trimmed(line.substr(equals + 3));
        const size_t blank = answer.find(L' ');
        rule.kind = answer.substr(0, blank);
        if (blank != std::wstring::npos) rule.value = answer.substr(blank + 1);
        m_rules.push_back(rule);
    }
}

const Rule* BackendRules::Find(const std::wstring& method, const std::vector<std::wstring>* arguments) const
{
    for (const Rule& rule : m_rules) {
        if (rule.method != L"*" && rule.method != method) continue;
        if (!arguments || !rule.hasArguments || rule.arguments == *arguments) return &rule;
    }
    return nullptr;
}

std::wstring Joined(const std::vector<std::wstring>& arguments)
{
    std::wstring all;
    for (size_t i = 0; i < arguments.size(); ++i) all += (i > 0 ? L"," : L"") + arguments[i];
    return all;
}

std::wstring Rendered(const std::wstring& text, const std::vector<std::wstring>& arguments)
{
    std::wstring out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, L"\\u") == 0 && i + 6 <= text.size()) {
            out += static_cast<wchar_t>(wcstoul(text.substr(i + 2, 4).c_str(), nullptr, 16));
            i += 5;
        } else if (text.compare(i, 3, L"{*}") == 0) {
            out += Joined(arguments);
            i += 2;
        } else if (text[i] == L'{' && i + 2 < text.size() && text[i + 2] == L'}' && iswdigit(text[i + 1])) {
            const size_t index = static_cast<size_t>(text[i + 1] - L'0');
            if (index < arguments.size()) out += arguments[index];
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace kzr::fake
