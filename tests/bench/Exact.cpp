#include "Exact.h"

#include <windows.h>

#include <cstdio>
#include <functional>
#include <iterator>
#include <string>

#include "Component.h"
#include "Imports.h"
#include "Optimised.h"
#include "Places.h"
#include "hardening/Holdings.h"
#include "libraries/Planted.h"
#include "resources/DispIds.h"

namespace kzr::bench {
namespace {

// The warm-up settles what the platform keeps for itself, after a first count of what is held has made the
// counting's own.
void TellGrowthOf(const char* name, long warmUp, long times, const std::function<void()>& step)
{
    test::CountHoldings();
    for (long i = 0; i < warmUp; ++i) step();
    const test::Holdings before = test::CountHoldings();
    for (long i = 0; i < times; ++i) step();
    const test::Holdings after = test::CountHoldings();
    std::printf(
        "grown %s times %ld bytes %lld handles %lld texts %ld\n", name, times,
        static_cast<long long>(after.resources.heapBytes) -
            static_cast<long long>(before.resources.heapBytes),
        static_cast<long long>(after.resources.handles) - static_cast<long long>(before.resources.handles),
        after.texts - before.texts);
    std::fflush(stdout);
}

void Reload()
{
    const Component component(Quiet());
    const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
    Hash(crypto.Get());
}

// `times` runs with their lines; the file tells how many there were.
void TellCounts(const std::string& name, long times, const std::function<void()>& step)
{
    DeleteFileW(LogFile().c_str());
    TakeCounts();
    for (long i = 0; i < times; ++i) step();
    const Asked asked = TakeCounts();
    std::printf("asked %s times %ld lines %u opens %ld writes %ld closes %ld blocks %ld texts %ld\n",
                name.c_str(), times, static_cast<unsigned>(LinesOf(LogFile()).size()), asked.opens,
                asked.writes, asked.closes, asked.blocks, asked.texts);
    std::fflush(stdout);
}

template <class Function>
Function* Exported(HMODULE module, const char* name)
{
    auto* const found = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (!found) Component::Quit(name);
    return found;
}

}  // namespace

void MeasureGrowth(long calls, long reloads)
{
    {
        const Component component(Quiet());
        const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
        bool second = false;
        TellGrowthOf("calls", 2000, calls, [&] {
            second = !second;
            if (second)
                Hash(crypto.Get());
            else
                InvokeNumber(crypto.Get(), DISPID_ICrypto_SetPinFlag, DISPATCH_METHOD, 1);
        });
    }
    TellGrowthOf("reloads", 20, reloads, Reload);
}

void CountExactly()
{
    std::printf("compiled program optimised %d\n", kOptimised);
    CreateDirectoryW(LogFolder().c_str(), nullptr);
    const Component component(Plain());
    if (!CountImportsOf(component.Module())) Component::Quit("nothing to count");
    const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
    long flag = 0;
    TellCounts("SetPinFlag", 100, [&] { crypto->SetPinFlag(1, &flag); });
    TellCounts("Hash", 100, [&] { Hash(crypto.Get()); });
}

void CountPlanted()
{
    {
        const Component component(Plain());  // makes the folder above
    }
    CreateDirectoryW(LogFolder().c_str(), nullptr);
    const HMODULE planted = LoadLibraryW(InFolder(L"Planted.dll").c_str());
    if (!planted || !CountImportsOf(planted)) Component::Quit("nothing is planted");
    const auto line = Exported<void(const wchar_t*, PlantedFault)>(planted, "PlantedLine");
    const std::wstring path = LogFile();
    for (std::size_t fault = 0; fault < std::size(kFaultNames); ++fault)
        TellCounts(std::string("planted.") + kFaultNames[fault], 100,
                   [&] { line(path.c_str(), static_cast<PlantedFault>(fault)); });
    TellGrowthOf("planted.growth", 10, 10, Exported<void()>(planted, "PlantedGrowth"));
    std::printf("compiled planted optimised %d\n", Exported<bool()>(planted, "PlantedOptimised")());
}

}  // namespace kzr::bench
