#include "registration/Registry.h"

#include <algorithm>
#include <cwctype>
#include <stdexcept>
#include <vector>

namespace kzr::test {
namespace {

std::wstring DataText(DWORD type, const std::vector<BYTE>& data)
{
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
        // One end mark belongs to the text; that it lacks, or what stands behind it, is shown.
        const bool ends = text.ends_with(L'\0');
        if (ends) text.pop_back();
        return (type == REG_SZ ? L"sz:" : L"expand:") + text + (ends ? L"" : L" (without an end)");
    }
    std::wstring text = std::to_wstring(type) + L":";
    for (const BYTE byte : data) text += std::to_wstring(byte) + L",";
    return text;
}

void AddValues(HKEY key, const std::wstring& path, Snapshot& snapshot)
{
    std::vector<BYTE> data(1024);
    for (DWORD index = 0;; ++index) {
        wchar_t name[1024];
        DWORD nameSize = 1024, type = 0, dataSize = static_cast<DWORD>(data.size());
        const LSTATUS status =
            RegEnumValueW(key, index, name, &nameSize, nullptr, &type, data.data(), &dataSize);
        if (status == ERROR_MORE_DATA) {
            data.resize(dataSize + sizeof(wchar_t));
            --index;
            continue;
        }
        if (status != ERROR_SUCCESS) return;
        snapshot[path + L"|" + Lower(name)] = DataText(type, {data.begin(), data.begin() + dataSize});
    }
}

// The 32-bit view shows keys that both views share once more.
bool IsLink(HKEY parent, const wchar_t* name)
{
    UniqueHkey key;
    DWORD type = 0;
    return RegOpenKeyExW(parent, name, REG_OPTION_OPEN_LINK, KEY_READ, key.put()) == ERROR_SUCCESS &&
           RegQueryValueExW(key.Get(), L"SymbolicLinkValue", nullptr, &type, nullptr, nullptr) ==
               ERROR_SUCCESS &&
           type == REG_LINK;
}

void AddKey(HKEY key, const std::wstring& path, Snapshot& snapshot)
{
    snapshot[path] = L"";
    AddValues(key, path, snapshot);
    for (DWORD index = 0;; ++index) {
        wchar_t name[260];
        DWORD size = 260;
        if (RegEnumKeyExW(key, index, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return;
        UniqueHkey child;
        if (path == L"\\wow6432node" && IsLink(key, name)) continue;
        if (RegOpenKeyExW(key, name, 0, KEY_READ, child.put()) != ERROR_SUCCESS) continue;
        AddKey(child.Get(), path + L"\\" + Lower(name), snapshot);
    }
}

}  // namespace

Snapshot SnapshotOf(HKEY root, const std::wstring& path)
{
    Snapshot snapshot;
    UniqueHkey key;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, key.put()) == ERROR_SUCCESS)
        AddKey(key.Get(), L"", snapshot);
    return snapshot;
}

std::string Difference(const Snapshot& expected, const Snapshot& actual)
{
    std::wstring text;
    for (const auto& [name, data] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end()) {
            text += L"missing  " + name + L"  " + data + L"\n";
        } else if (found->second != data) {
            text +=
                L"differs  " + name + L"\n    expected " + data + L"\n    is       " + found->second + L"\n";
        }
    }
    for (const auto& [name, data] : actual) {
        if (!expected.contains(name)) text += L"too much " + name + L"  " + data + L"\n";
    }
    return Utf8(text);
}

std::wstring Lower(std::wstring text)
{
    std::ranges::transform(text, text.begin(),
                           [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
    return text;
}

std::string Utf8(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    std::string result(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0,
                                                               nullptr, nullptr)),
                       '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, result.data(), static_cast<int>(result.size()),
                        nullptr, nullptr);
    return result;
}

std::wstring TextValue(const std::wstring& key, const wchar_t* name)
{
    wchar_t text[1024];
    DWORD size = sizeof(text);
    const LSTATUS status =
        RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size);
    return status == ERROR_SUCCESS ? text : L"<none>";
}

bool KeyExists(const std::wstring& path)
{
    UniqueHkey key;
    return RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, key.put()) == ERROR_SUCCESS;
}

void WriteText(const std::wstring& path, const wchar_t* name, const std::wstring& text)
{
    const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    UniqueHkey key;
    if (RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, key.put(),
                        nullptr) != ERROR_SUCCESS ||
        RegSetValueExW(key.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size) !=
            ERROR_SUCCESS) {
        throw std::runtime_error("the test cannot write " + Utf8(path));
    }
}

UniqueHkey MakeVolatileKey(HKEY root, const std::wstring& path)
{
    UniqueHkey key;
    DWORD made = 0;
    if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_READ | KEY_WRITE, nullptr,
                        key.put(), &made) != ERROR_SUCCESS ||
        made != REG_CREATED_NEW_KEY) {
        throw std::runtime_error("the test cannot make " + Utf8(path));
    }
    return key;
}

}  // namespace kzr::test
