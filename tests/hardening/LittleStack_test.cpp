// The last reference given back by a caller who has hardly any stack left, to a backend that then overflows
// it.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdio>
#include <functional>

#include "Area.h"
#include "ChildCount.h"
#include "Holdings.h"
#include "QuietBench.h"

namespace kzr::test {
namespace {

struct LittleStack {
    std::size_t left;
    std::function<void()> body;
};

[[gnu::noinline]] void RunWithLittle(const LittleStack& little)
{
    // The lowest address of this thread's stack, as the thread block gives it.
    const auto lowest = static_cast<std::uintptr_t>(__readgsqword(0x1478));
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    auto* const used = static_cast<volatile char*>(_alloca(here - lowest - little.left));
    used[0] = 1;
    little.body();
}

DWORD WINAPI LittleStackThread(void* context)
{
    RunWithLittle(*static_cast<LittleStack*>(context));
    return 0;
}

constexpr std::size_t kKilobytesLeft[] = {12, 16, 20, 24, 28,  32,  36,  40,  44, 48,
                                          56, 64, 80, 96, 112, 128, 160, 200, 400};

// The backend is let go at once where there is room for its overflow to be caught, else later: then it is
// well again. In between nobody promises either.
int WrongOverflows(long seen, std::size_t kilobytes)
{
    constexpr std::size_t kSurelyTooLittle = 80, kSurelyEnough = 200;
    const long least = kilobytes >= kSurelyEnough ? 1 : 0;
    const long most = kilobytes <= kSurelyTooLittle ? 0 : 1;
    if (seen >= least && seen <= most) return 0;
    std::printf("%ld overflows of the backend\n", seen);
    return 1;
}

// The process is there afterwards, and the next object on a thread with room settles what was left undone.
KZR_CHILD(ReleasesWithLittleStack)
{
    QuietBench bench;
    int wrong = 0;
    long long releases = 0;
    // The control gives its back where its window goes, on the thread that pumps for it.
    for (const ScriptedClass* const made : {&kCrypto, &kUtil}) {
        for (const Step step : {Step::Unadvise, Step::LastRelease}) {
            for (const std::size_t kilobytes : kKilobytesLeft) {
                std::printf("%s, %zu KiB left\n", made->name, kilobytes);
                std::fflush(stdout);
                const long overflowsBefore = FaultCounter::Planned();
                ComPtr<IDispatch> object = bench.Make(*made);
                bench.backend->At(step).Faults(FaultKind::StackOverflow);
                LittleStack little{kilobytes * 1024, [&] { object.Reset(); }};
                const HANDLE thread = CreateThread(nullptr, 1024 * 1024, LittleStackThread, &little,
                                                   STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
                WaitForSingleObject(thread, INFINITE);
                CloseHandle(thread);
                releases += !object;
                bench.backend->At(step) = StepRule();
                wrong += WrongOverflows(FaultCounter::Planned() - overflowsBefore, kilobytes);
                if (!bench.Make(kUtil)) ++wrong;
                if (bench.backend->LiveControls() != 0 || bench.dll->CanUnloadNow() != S_OK) {
                    std::printf("something was kept\n");
                    ++wrong;
                }
            }
        }
    }
    const std::string trouble = bench.Trouble();
    std::printf("%s", trouble.c_str());
    PrintCount("releases", releases);
    std::printf("END\n");
    std::fflush(stdout);
    return wrong + !trouble.empty();
}

TEST(LittleStack, ALastReleaseWhoseBackendOverflowsItIsSurvived)
{
    const ChildResult ended = RunChild("ReleasesWithLittleStack", L"", 60000);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
    const long long releases = CountIn(ended.output, "releases");
    EXPECT_EQ(2LL * 2 * static_cast<long long>(std::size(kKilobytesLeft)), releases) << ended.output;
    Did("backend faults", releases, "releases with little stack");
}

}  // namespace
}  // namespace kzr::test
