// A module that cannot start: its loading fails, and the process goes on as if nothing had been.
#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "com/Handles.h"
#include "support/ChildProcess.h"
#include "support/TestDll.h"

namespace kzr::test {
namespace {

// All thread-local slots that are left, while one lives.
class NoSlots {
  public:
    NoSlots()
    {
        m_slots.reserve(2048);
        for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = TlsAlloc()) m_slots.push_back(slot);
    }
    ~NoSlots()
    {
        for (const DWORD slot : m_slots) TlsFree(slot);
    }
    NoSlots(const NoSlots&) = delete;
    NoSlots& operator=(const NoSlots&) = delete;

  private:
    std::vector<DWORD> m_slots;
};

KZR_CHILD(LoadsWithoutASlot)
{
    const std::wstring path = DllPath();
    // What the module imports stays loaded, so that only its own start-up can fail.
    std::vector<UniqueModule> imports;
    for (const wchar_t* name : {L"shell32.dll", L"ole32.dll", L"oleaut32.dll", L"user32.dll", L"gdi32.dll",
                                L"advapi32.dll", L"msvcrt.dll"})
        imports.emplace_back(LoadLibraryW(name));
    if (!UniqueModule(LoadLibraryW(path.c_str()))) return 10;

    for (int time = 1; time <= 3; ++time) {
        HMODULE loaded = nullptr;
        DWORD error = 0;
        {
            const NoSlots none;
            loaded = LoadLibraryW(path.c_str());
            error = GetLastError();
        }
        if (loaded) return 20;
        if (error != ERROR_DLL_INIT_FAILED) return 21;
        if (GetModuleHandleW(L"KzrSecX_x64.dll")) return 22;
        if (!UniqueModule(LoadLibraryW(path.c_str()))) return 23;
    }
    std::puts("the end");
    return 0;
}

TEST(StartUp, AModuleThatCannotStartDoesNotLoadAndMayTryAgain)
{
    const ChildResult ended = RunChild("LoadsWithoutASlot");
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << "20: it loaded, 21: another error, 22: it stayed, 23: it never loads again";
    EXPECT_NE(std::string::npos, ended.output.find("the end")) << ended.output;
}

}  // namespace
}  // namespace kzr::test
