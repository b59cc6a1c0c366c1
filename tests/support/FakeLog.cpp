#include "support/FakeLog.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace kzr::test {
namespace {

constexpr wchar_t kName[] = L"KzrLogLib_x64.dll";

}  // namespace

void PutFakeLogLibrary(const char* fake, const std::wstring& folder)
{
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    std::wstring from(path);
    from = from.substr(0, from.rfind(L'\\') + 1) + L"fakes\\";
    for (const char* letter = fake; *letter; ++letter) from += static_cast<wchar_t>(*letter);
    from += L".dll";
    EXPECT_TRUE(CopyFileW(from.c_str(), (folder + kName).c_str(), FALSE))
        << fake << ": error " << GetLastError();
}

std::string FakeLogNotes()
{
    const HMODULE library = GetModuleHandleW(kName);
    if (!library) return {};
    const auto notes =
        reinterpret_cast<const char* (*)()>(reinterpret_cast<void*>(GetProcAddress(library, "FakeNotes")));
    return notes ? notes() : "";
}

bool IsFakeLogLoaded() { return GetModuleHandleW(kName) != nullptr; }

}  // namespace kzr::test
