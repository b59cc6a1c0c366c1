// Faults and throws where the heap gives nothing for what is thrown: the module's own reserve must do.
#include <cstdio>

#include "support/ChildProcess.h"
#include "support/ComponentTest.h"

namespace kzr::test {
namespace {

// More than the reserve has places for, so that each must come back.
constexpr int kFaults = 100;

long g_refused = 0;

void* WINAPI RefuseMemory(HANDLE, DWORD, SIZE_T)
{
    ++g_refused;
    return nullptr;
}

// Where a module keeps the address of a function of kernel32; null when it does not import it.
void** ImportOf(HMODULE module, const char* function)
{
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const header = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
    auto** const first = reinterpret_cast<void**>(base + imports.VirtualAddress);
    auto* const wanted = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), function));
    for (void** import = first; import < first + imports.Size / sizeof(void*); ++import)
        if (*import == wanted) return import;
    return nullptr;
}

// What the module asks of the heap itself is for exceptions alone; all else comes from the C runtime.
class NoHeap {
  public:
    explicit NoHeap(void** import) : m_import(import), m_before(*import)
    {
        Put(reinterpret_cast<void*>(&RefuseMemory));
    }
    NoHeap(const NoHeap&) = delete;
    NoHeap& operator=(const NoHeap&) = delete;
    ~NoHeap() { Put(m_before); }

  private:
    void Put(void* function)
    {
        DWORD before = 0;
        VirtualProtect(m_import, sizeof(void*), PAGE_READWRITE, &before);
        *m_import = function;
        VirtualProtect(m_import, sizeof(void*), before, &before);
    }

    void** m_import;
    void* m_before;
};

// The thread's first fault comes with or without memory for what the runtime keeps of each thread.
int FaultWithoutHeap(bool firstWithHeap)
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    ScriptedBackend backend;
    const TestDll dll;
    void** const import = ImportOf(dll.Module(), "HeapAlloc");
    const ComPtr<IDispatch> util = dll.Create<IDispatch>(kUtil.clsid);
    if (!import || !util) return 3;
    backend.Allow(L"SOF_Base64Encode", Faults(FaultKind::Read));
    const auto encode = [&] { return Call(util.Get(), DISPID{1}, {L"abc"}); };
    if (firstWithHeap) encode();
    int wrong = 0;
    {
        const NoHeap none(import);
        for (int i = 0; i < kFaults; ++i) wrong += encode().result != S_OK;
    }
    backend.ForgetEverything();
    backend.Allow(L"SOF_Base64Encode", Answer(L"YWJj"));
    const bool right = encode().value == Value(L"YWJj");
    std::printf("%d wrong, %ld refused, %s\nEND\n", wrong, g_refused, right ? "right" : "not right");
    std::fflush(stdout);
    return 0;
}

KZR_CHILD(FaultsWithoutHeap) { return FaultWithoutHeap(true); }
KZR_CHILD(FaultsWithoutHeapFromTheStart) { return FaultWithoutHeap(false); }

void ExpectAnswered(const char* part, int refused)
{
    const ChildResult ended = RunChild(part);
    EXPECT_EQ(0u, ended.code) << ended.output;
    const std::string expected = "0 wrong, " + std::to_string(refused) + " refused, right\nEND";
    std::string output = ended.output;
    std::erase(output, '\r');
    EXPECT_NE(std::string::npos, output.find(expected)) << output;
}

TEST(ExceptionMemory, FaultsAreAnsweredFromTheReserveAsOftenAsTheyCome)
{
    ExpectAnswered("FaultsWithoutHeap", kFaults);
}

TEST(ExceptionMemory, AThreadThatGetsNoneForItsFirstFaultIsAnsweredToo)
{
    // One more for what is kept of the thread.
    ExpectAnswered("FaultsWithoutHeapFromTheStart", kFaults + 1);
}

}  // namespace
}  // namespace kzr::test
