#include "Holdings.h"

#include <windows.h>

#include <objidl.h>

#include <atomic>

namespace kzr::test {
namespace {

// Counts the blocks of the platform's task memory that are in use.
class Spy final : public IMallocSpy {
  public:
    long Live() const { return m_live; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        *object = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IMallocSpy) ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override { return size; }
    STDMETHODIMP_(void*) PostAlloc(void* block) override
    {
        m_live += block != nullptr;
        return block;
    }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL spied) override
    {
        m_live -= block && spied;
        return block;
    }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** same, BOOL) override
    {
        *same = block;
        return size;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, BOOL) override { return size; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int actual) override { return actual; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}

  private:
    std::atomic<long> m_live{0};
};

Spy g_spy;

// Once for the process: the platform does not let go of a spy while blocks that it has seen are in use. One
// such block is made at once, since some platforms look for every freed block in a table that the first one
// makes.
HRESULT StartWatching()
{
    const HRESULT result = CoRegisterMallocSpy(&g_spy);
    CoTaskMemAlloc(1);
    return result;
}

long CountTexts()
{
    static const HRESULT watching = StartWatching();
    return SUCCEEDED(watching) ? g_spy.Live() : -1;
}

bool IsOfThisProcess(HWND window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return process == GetCurrentProcessId();
}

long CountWindows()
{
    long count = 0;
    for (HWND parent : {static_cast<HWND>(nullptr), HWND_MESSAGE})
        for (HWND each = FindWindowExW(parent, nullptr, nullptr, nullptr); each;
             each = FindWindowExW(parent, each, nullptr, nullptr))
            count += IsOfThisProcess(each);
    return count;
}

void Tell(std::string& grown, const char* what, long long before, long long after)
{
    grown += std::string(grown.empty() ? "" : ", ") + what + " " + std::to_string(before) + " -> " +
             std::to_string(after);
}

// Beyond so many blocks of a usual size.
std::string HeapGrowth(const ResourceCount& before, const ResourceCount& after, std::size_t blocks)
{
    constexpr std::size_t kBytesOfABlock = 256;
    std::string grown;
    if (after.heapBlocks > before.heapBlocks + blocks)
        Tell(grown, "heap blocks", static_cast<long long>(before.heapBlocks),
             static_cast<long long>(after.heapBlocks));
    if (after.heapBytes > before.heapBytes + blocks * kBytesOfABlock)
        Tell(grown, "heap bytes", static_cast<long long>(before.heapBytes),
             static_cast<long long>(after.heapBytes));
    return grown;
}

void AddOtherGrowth(std::string& grown, const Holdings& before, const Holdings& after)
{
    if (after.resources.handles > before.resources.handles)
        Tell(grown, "handles", static_cast<long long>(before.resources.handles),
             static_cast<long long>(after.resources.handles));
    if (after.resources.freeTlsSlots < before.resources.freeTlsSlots)
        Tell(grown, "free thread-local slots", static_cast<long long>(before.resources.freeTlsSlots),
             static_cast<long long>(after.resources.freeTlsSlots));
    if (after.texts > before.texts || after.texts < 0) Tell(grown, "texts", before.texts, after.texts);
    if (after.windows > before.windows) Tell(grown, "windows", before.windows, after.windows);
}

// How often heap that has grown is looked at.
constexpr int kLooks = 2;

}  // namespace

Holdings CountHoldings()
{
    Holdings held;
    held.windows = CountWindows();
    held.texts = CountTexts();
    held.resources = CountResources();
    return held;
}

std::string GrowthBeyond(const Holdings& before, const Holdings& after, std::size_t blocks)
{
    std::string grown = HeapGrowth(before.resources, after.resources, blocks);
    AddOtherGrowth(grown, before, after);
    return grown;
}

std::string GrowthBetween(const Holdings& before, const Holdings& after, long times)
{
    return GrowthBeyond(before, after, 4 + static_cast<std::size_t>(times) / 100);
}

// A block that the platform has made for itself does not come again each time that the same is done.
std::string GrowthOf(long warmUp, long times, const std::function<void()>& step)
{
    for (long i = 0; i < warmUp; ++i) step();
    std::string grown;
    for (int look = 0; look < kLooks; ++look) {
        const Holdings before = CountHoldings();
        for (long i = 0; i < times; ++i) step();
        const Holdings after = CountHoldings();
        const std::string heap = HeapGrowth(before.resources, after.resources, 0);
        grown = heap;
        AddOtherGrowth(grown, before, after);
        if (heap.empty() || grown != heap) break;
    }
    return grown;
}

std::string Describe(const Holdings& held)
{
    return std::to_string(held.resources.heapBytes) + " bytes in " +
           std::to_string(held.resources.heapBlocks) + " blocks, " + std::to_string(held.texts) + " texts, " +
           std::to_string(held.resources.handles) + " handles, " + std::to_string(held.windows) +
           " windows, " + std::to_string(held.resources.freeTlsSlots) + " slots free";
}

ChildResult RunWithoutTextCache(const char* part, DWORD milliseconds)
{
    SetEnvironmentVariableW(L"OANOCACHE", L"1");
    const ChildResult ended = RunChild(part, L"", milliseconds);
    SetEnvironmentVariableW(L"OANOCACHE", nullptr);
    return ended;
}

}  // namespace kzr::test
