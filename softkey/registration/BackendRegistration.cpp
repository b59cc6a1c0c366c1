// The class in the registry, machine-wide and this user's: who holds it, keeping another server's keys aside
// and putting them back. What is kept lies beside the software key's own settings, under the same root.
#include "registration/BackendRegistration.h"

#include <windows.h>

#include <array>

#include "base/Wide.h"
#include "com/Handles.h"

namespace kzr::softkey {
namespace {

constexpr wchar_t kClass[] = L"Software\\Classes\\CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}";
constexpr wchar_t kServer[] = L"InprocServer32";
// Holds the path that was registered. A server that registers itself over ours leaves the mark behind, but
// no longer with the path that counts.
constexpr wchar_t kMark[] = L"KzrSoftKey";
constexpr wchar_t kOwn[] = L"Software\\KzrSoftKey";
constexpr wchar_t kAside[] = L"Software\\KzrSoftKey\\Replaced";
// Written when a copy is whole: what a process left half-done is never put back.
constexpr wchar_t kWhole[] = L"Whole";

// This user's keys hide the machine's.
const std::array<HKEY, 2> kRoots = {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE};

void Check(LSTATUS status, const char* doing)
{
    if (status == ERROR_SUCCESS) return;
    std::string text = std::string("cannot ") + doing + ": error " + std::to_string(status);
    if (status == ERROR_ACCESS_DENIED) text += ", access denied; this needs an administrator's rights";
    throw Failure(Cause::File, text);
}

bool KeyExists(HKEY root, const std::wstring& path)
{
    UniqueHkey key;
    return RegOpenKeyExW(root, path.c_str(), 0, KEY_QUERY_VALUE, key.put()) == ERROR_SUCCESS;
}

// "" when there is no such text. Environment variables are expanded, as COM does.
std::wstring TextOf(HKEY root, const std::wstring& path, const wchar_t* name)
{
    DWORD size = 0;
    if (RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, nullptr, &size) != ERROR_SUCCESS)
        return L"";
    // Room for what an expansion may add meanwhile.
    size += 1024;
    std::wstring text(size / sizeof(wchar_t), L'\0');
    size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    Check(RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text.data(), &size),
          "read the registry");
    return text.c_str();
}

void WriteText(HKEY key, const wchar_t* name, const std::wstring& text)
{
    const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    Check(RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size),
          "write to the registry");
}

UniqueHkey MakeKey(HKEY root, const std::wstring& path)
{
    UniqueHkey key;
    Check(
        RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, key.put(), nullptr),
        "write to the registry");
    return key;
}

void DeleteTree(HKEY root, const std::wstring& path)
{
    const LSTATUS status = RegDeleteTreeW(root, path.c_str());
    if (status != ERROR_FILE_NOT_FOUND) Check(status, "remove a registry key");
}

void CopyTree(HKEY root, const std::wstring& from, const std::wstring& to)
{
    const UniqueHkey target = MakeKey(root, to);
    Check(RegCopyTreeW(root, from.c_str(), target.Get()), "copy a registry key");
}

bool IsOurs(HKEY root)
{
    const std::wstring mark = TextOf(root, kClass, kMark);
    return !mark.empty() &&
           lstrcmpiW(mark.c_str(), TextOf(root, std::wstring(kClass) + L"\\" + kServer, nullptr).c_str()) ==
               0;
}

std::optional<std::wstring> HolderIn(HKEY root)
{
    const std::wstring other = TextOf(root, std::wstring(kClass) + L"\\TreatAs", nullptr);
    if (!other.empty()) return L"the class " + other;
    for (const wchar_t* kind : {kServer, L"InprocHandler32", L"LocalServer32"}) {
        const std::wstring file = TextOf(root, std::wstring(kClass) + L"\\" + kind, nullptr);
        if (!file.empty()) return file;
    }
    const std::wstring application = TextOf(root, kClass, L"AppID");
    if (!application.empty()) return L"the application " + application;
    return std::nullopt;
}

std::optional<std::wstring> ForeignHolderIn(HKEY root)
{
    return IsOurs(root) ? std::nullopt : HolderIn(root);
}

bool IsKeptAside(HKEY root) { return !TextOf(root, kAside, kWhole).empty(); }

void KeepAside(HKEY root)
{
    DeleteTree(root, kAside);
    CopyTree(root, kClass, std::wstring(kAside) + L"\\Class");
    WriteText(MakeKey(root, kAside).Get(), kWhole, L"1");
    DeleteTree(root, kClass);
}

// A key without a server is kept too, unless that would cost what was kept before.
void MakeRoom(HKEY root)
{
    if (ForeignHolderIn(root) || (!IsOurs(root) && KeyExists(root, kClass) && !IsKeptAside(root)))
        KeepAside(root);
}

void PutBack(HKEY root)
{
    if (IsKeptAside(root)) CopyTree(root, std::wstring(kAside) + L"\\Class", kClass);
    DeleteTree(root, kAside);
    // Stays when there is anything else in it.
    RegDeleteKeyW(root, kOwn);
}

void WriteClass(const std::wstring& dllPath)
{
    DeleteTree(HKEY_LOCAL_MACHINE, kClass);
    const UniqueHkey own = MakeKey(HKEY_LOCAL_MACHINE, kClass);
    WriteText(own.Get(), nullptr, L"Software key");
    const UniqueHkey server = MakeKey(HKEY_LOCAL_MACHINE, std::wstring(kClass) + L"\\" + kServer);
    WriteText(server.Get(), L"ThreadingModel", L"Apartment");
    WriteText(server.Get(), nullptr, dllPath);
    WriteText(own.Get(), kMark, dllPath);
}

}  // namespace

BackendHeld::BackendHeld(const std::wstring& holder)
    : Failure(Cause::BadArgument, "another server holds the backend's class: " + ToUtf8(holder)),
      m_holder(holder)
{}

std::optional<std::wstring> HolderOfBackendClass()
{
    for (const HKEY root : kRoots) {
        if (auto holder = HolderIn(root)) return holder;
    }
    return std::nullopt;
}

bool BackendIsOurs() { return !HolderIn(HKEY_CURRENT_USER) && IsOurs(HKEY_LOCAL_MACHINE); }

void RegisterBackend(const std::wstring& dllPath, bool replace)
{
    if (!replace) {
        for (const HKEY root : kRoots) {
            if (const auto holder = ForeignHolderIn(root)) throw BackendHeld(*holder);
        }
    }
    // The machine's first, and whole: without the right to write there, nothing is changed at all.
    MakeRoom(HKEY_LOCAL_MACHINE);
    WriteClass(dllPath);
    MakeRoom(HKEY_CURRENT_USER);
}

void UnregisterBackend()
{
    if (const auto holder = ForeignHolderIn(HKEY_LOCAL_MACHINE)) throw BackendHeld(*holder);
    if (IsOurs(HKEY_LOCAL_MACHINE)) DeleteTree(HKEY_LOCAL_MACHINE, kClass);
    for (const HKEY root : kRoots) {
        // What this user's registry got meanwhile is newer than what was kept.
        if (!ForeignHolderIn(root)) PutBack(root);
    }
}

}  // namespace kzr::softkey
