// The two frames: what they turn into a C++ exception, what they leave alone, what they give back.
#include "fault/Frames.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <thread>

#include "com/Lock.h"
#include "support/Faults.h"

namespace kzr {
namespace {

using test::FaultCounter;
using test::FaultKind;
using test::kAllFaults;

// Says on a stack of its own whether a destructor ran.
struct Witness {
    int& count;
    ~Witness() { ++count; }
};

// What a callee must keep, spoilt. The compiler saves it at the function's start; a fault never comes to its
// end.
[[gnu::always_inline]] inline void SpoilRegisters()
{
    __asm__ volatile(
        "mov $-1, %%rbx\n mov $-1, %%rsi\n mov $-1, %%rdi\n mov $-1, %%r12\n mov $-1, %%r13\n"
        "mov $-1, %%r14\n mov $-1, %%r15\n"
        "pcmpeqd %%xmm6, %%xmm6\n pcmpeqd %%xmm7, %%xmm7\n pcmpeqd %%xmm8, %%xmm8\n pcmpeqd %%xmm9, %%xmm9\n"
        "pcmpeqd %%xmm10, %%xmm10\n pcmpeqd %%xmm11, %%xmm11\n pcmpeqd %%xmm12, %%xmm12\n"
        "pcmpeqd %%xmm13, %%xmm13\n pcmpeqd %%xmm14, %%xmm14\n pcmpeqd %%xmm15, %%xmm15\n"
        :
        :
        : "rbx", "rsi", "rdi", "r12", "r13", "r14", "r15", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11",
          "xmm12", "xmm13", "xmm14", "xmm15");
}

// The code that came out of a foreign call with this fault in it; 0 when none did.
std::uint32_t CodeOutOf(FaultKind kind)
{
    try {
        CallForeign([kind] {
            SpoilRegisters();
            test::RaiseFault(kind);
            return 0;
        });
    } catch (const Fault& fault) {
        return fault.Code();
    }
    return 0;
}

// Holds more values across the call than there are registers that a callee must keep, whole numbers and
// fractions.
template <class Call>
[[gnu::noinline]] void ExpectRegistersKept(Call call)
{
    volatile int seed = 3;
    const int s = seed;
    const int a = s * 3, b = s * 5, c = s * 7, d = s * 11, e = s * 13, f = s * 17, g = s * 19, h = s * 23;
    const double p = s * 0.5, q = s * 0.25, r = s * 0.125, t = s * 1.5, u = s * 2.5, v = s * 3.5, w = s * 4.5,
                 x = s * 5.5, y = s * 6.5, z = s * 7.5;
    call();
    EXPECT_EQ(3 * (3 + 5 + 7 + 11 + 13 + 17 + 19 + 23), a + b + c + d + e + f + g + h);
    EXPECT_EQ(3 * (0.5 + 0.25 + 0.125 + 1.5 + 2.5 + 3.5 + 4.5 + 5.5 + 6.5 + 7.5),
              p + q + r + t + u + v + w + x + y + z);
}

class ForeignFault : public testing::TestWithParam<FaultKind> {};

TEST_P(ForeignFault, ComesOutAsOneOfOursWithItsCode)
{
    EXPECT_EQ(test::CodeOf(GetParam()), CodeOutOf(GetParam()));
}

TEST_P(ForeignFault, ComesOutAHundredTimesInARow)
{
    for (int i = 0; i < 100; ++i) ASSERT_EQ(test::CodeOf(GetParam()), CodeOutOf(GetParam())) << i;
}

TEST_P(ForeignFault, GivesTheLockBackThatIsHeldAboveIt)
{
    Lock lock;
    lock.Create();
    try {
        const LockGuard held = lock.lock();
        CallForeign([] {
            test::RaiseFault(GetParam());
            return 0;
        });
        ADD_FAILURE() << "nothing came out";
    } catch (const Fault&) {
    }
    EXPECT_EQ(0, lock.MyDepth());
    bool free = false;
    std::thread([&] {
        const LockGuard held = lock.lock();
        free = true;
    }).join();
    EXPECT_TRUE(free);
    lock.Delete();
}

TEST_P(ForeignFault, RunsTheDestructorsAboveTheCall)
{
    int destroyed = 0;
    try {
        const Witness witness{destroyed};
        CallForeign([] {
            test::RaiseFault(GetParam());
            return 0;
        });
    } catch (const Fault&) {
    }
    EXPECT_EQ(1, destroyed);
}

TEST_P(ForeignFault, GoesThroughTwoFramesWithinEachOther)
{
    int destroyed = 0;
    std::uint32_t code = 0;
    try {
        CallForeign([&] {
            const Witness witness{destroyed};
            try {
                CallForeign([] {
                    test::RaiseFault(GetParam());
                    return 0;
                });
            } catch (const Fault& fault) {
                code = fault.Code();
                throw;
            }
            return 0;
        });
        ADD_FAILURE() << "nothing came out";
    } catch (const Fault&) {
    }
    EXPECT_EQ(1, destroyed);
    EXPECT_EQ(test::CodeOf(GetParam()), code);
}

TEST_P(ForeignFault, KeepsTheCallersRegisters)
{
    ExpectRegistersKept([] { CodeOutOf(GetParam()); });
}

TEST_P(ForeignFault, ComesOutOnAnyThread)
{
    std::uint32_t code = 0;
    std::thread([&] { code = CodeOutOf(GetParam()); }).join();
    EXPECT_EQ(test::CodeOf(GetParam()), code);
}

TEST_P(ForeignFault, IsDroppedWhereNothingMayBeThrown)
{
    EXPECT_EQ(42, CallForeignQuietly(
                      [] {
                          test::RaiseFault(GetParam());
                          return 1;
                      },
                      42));
}

std::string NameOfKind(const testing::TestParamInfo<FaultKind>& info) { return test::NameOf(info.param); }

INSTANTIATE_TEST_SUITE_P(Each, ForeignFault, testing::ValuesIn(kAllFaults), NameOfKind);

TEST(ForeignCall, GivesTheCallsAnswer)
{
    EXPECT_EQ(7, CallForeign([] { return 7; }));
    EXPECT_EQ(7, CallForeignQuietly([] { return 7; }, 1));
}

// Handled where it happens, as a probe for readable memory does it.
LONG CALLBACK SkipTheInstruction(EXCEPTION_POINTERS* pointers)
{
    if (pointers->ExceptionRecord->ExceptionCode != static_cast<DWORD>(EXCEPTION_ILLEGAL_INSTRUCTION))
        return EXCEPTION_CONTINUE_SEARCH;
    pointers->ContextRecord->Rip += 2;
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(ForeignCall, AFaultThatIsHandledInsideIsLeftAlone)
{
    EXPECT_TRUE(CallForeign([] { return IsBadReadPtr(reinterpret_cast<void*>(16), 4) != FALSE; }));
    void* const handler = AddVectoredExceptionHandler(1, SkipTheInstruction);
    EXPECT_EQ(5, CallForeign([] {
                  __asm__ volatile("ud2");
                  return 5;
              }));
    RemoveVectoredExceptionHandler(handler);
}

TEST(ForeignCall, AThrowThatIsCaughtInsideIsLeftAlone)
{
    EXPECT_EQ(3, CallForeign([] {
                  try {
                      throw std::runtime_error("caught inside");
                  } catch (const std::exception&) {
                      return 3;
                  }
              }));
}

TEST(ForeignCall, AnOverflowWithoutRoomToUnwindComesOutToo)
{
    for (int depth = 0; depth < 16; ++depth) {
        std::uint32_t code = 0;
        std::thread([&] {
            // The thread claims to keep stack back already, so the frame asks for none; the guard page stands
            // where dispatching has room and unwinding has not.
            __writegsdword(0x1748, 64 * 1024);
            char* const page = reinterpret_cast<char*>(__readgsqword(0x1478)) + 16 * 1024;
            DWORD before;
            VirtualProtect(page, 4096, PAGE_READWRITE | PAGE_GUARD, &before);
            volatile char* const room =
                static_cast<volatile char*>(alloca(static_cast<std::size_t>(depth) * 272 + 16));
            room[0] = 1;
            ExpectRegistersKept([&] { code = CodeOutOf(FaultKind::StackOverflow); });
        }).join();
        EXPECT_EQ(0xC00000FDu, code) << depth;
    }
}

TEST(ForeignCall, AThreadsFirstOverflowComesOutAtEveryDepth)
{
    for (int depth = 0; depth < 32; ++depth) {
        std::uint32_t code = 0;
        std::thread([&] {
            volatile char* const room =
                static_cast<volatile char*>(alloca(static_cast<std::size_t>(depth) * 144 + 16));
            room[0] = 1;
            code = CodeOutOf(FaultKind::StackOverflow);
        }).join();
        ASSERT_EQ(0xC00000FDu, code) << depth;
    }
}

// Our own frame.

// What leaves RunOwnCode: its answer, or the code of the Fault that it lets through.
struct OwnOutcome {
    std::uint32_t answered = 0;
    std::uint32_t thrown = 0;
};

OwnOutcome RunOwn(const std::function<void()>& body)
{
    OwnOutcome outcome;
    try {
        outcome.answered =
            RunOwnCode([](void* context) { (*static_cast<const std::function<void()>*>(context))(); },
                       const_cast<std::function<void()>*>(&body));
    } catch (const Fault& fault) {
        outcome.thrown = fault.Code();
    }
    return outcome;
}

class OwnFault : public testing::TestWithParam<FaultKind> {};

TEST_P(OwnFault, IsThrownAtItsPlaceSoThatDestructorsRun)
{
    for (int i = 0; i < 20; ++i) {
        int destroyed = 0;
        const OwnOutcome outcome = RunOwn([&] {
            const Witness outer{destroyed};
            const Witness inner{destroyed};
            test::RaiseFault(GetParam());
        });
        ASSERT_EQ(test::CodeOf(GetParam()), outcome.thrown);
        ASSERT_EQ(0u, outcome.answered);
        ASSERT_EQ(2, destroyed);
    }
}

TEST_P(OwnFault, CanBeCaughtByTheCodeItself)
{
    std::uint32_t code = 0;
    const OwnOutcome outcome = RunOwn([&] {
        try {
            test::RaiseFault(GetParam());
        } catch (const Fault& fault) {
            code = fault.Code();
        }
    });
    EXPECT_EQ(test::CodeOf(GetParam()), code);
    EXPECT_EQ(0u, outcome.answered | outcome.thrown);
}

INSTANTIATE_TEST_SUITE_P(Each, OwnFault,
                         testing::Values(FaultKind::Read, FaultKind::Write, FaultKind::Execute,
                                         FaultKind::Division, FaultKind::IllegalInstruction),
                         NameOfKind);

// These have no way to go on, or no room: the frame answers their code, and destructors have not run.
class OwnEnd : public testing::TestWithParam<FaultKind> {};

TEST_P(OwnEnd, IsAnsweredByItsCode)
{
    for (int i = 0; i < 20; ++i) {
        const OwnOutcome outcome = RunOwn([] { test::RaiseFault(GetParam()); });
        ASSERT_EQ(test::CodeOf(GetParam()), outcome.answered) << i;
        ASSERT_EQ(0u, outcome.thrown);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, OwnEnd,
                         testing::Values(FaultKind::StackOverflow, FaultKind::OtherCompilersThrow,
                                         FaultKind::NonContinuable),
                         NameOfKind);

TEST(OwnCode, AnswersNothingWhenNothingHappens)
{
    bool ran = false;
    const OwnOutcome outcome = RunOwn([&] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_EQ(0u, outcome.answered | outcome.thrown);
}

TEST(OwnCode, AnOrdinaryThrowPasses)
{
    int destroyed = 0;
    EXPECT_THROW(RunOwn([&] {
                     const Witness witness{destroyed};
                     throw std::out_of_range("as usual");
                 }),
                 std::out_of_range);
    EXPECT_EQ(1, destroyed);
}

TEST(OwnCode, AFaultOfForeignCodeBelowIsTheForeignFramesAffair)
{
    for (const FaultKind kind : kAllFaults) {
        int destroyed = 0;
        const OwnOutcome outcome = RunOwn([&] {
            const Witness witness{destroyed};
            CodeOutOf(kind);
            CallForeign([kind] {
                test::RaiseFault(kind);
                return 0;
            });
        });
        EXPECT_EQ(test::CodeOf(kind), outcome.thrown) << test::NameOf(kind);
        EXPECT_EQ(1, destroyed) << test::NameOf(kind);
    }
}

TEST(OwnCode, AFaultThatIsHandledInsideIsLeftAlone)
{
    const OwnOutcome outcome = RunOwn([] { EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(16), 4)); });
    EXPECT_EQ(0u, outcome.answered | outcome.thrown);
}

// A code of 0 may be raised like any other, and 0 is also what nothing at all looks like.
TEST(ForeignCall, AnExceptionWithoutACodeIsNoAnswer)
{
    for (const DWORD flags : {DWORD{0}, DWORD{EXCEPTION_NONCONTINUABLE}}) {
        EXPECT_THROW(CallForeign([flags] {
                         RaiseException(0, flags, 0, nullptr);
                         return 0;
                     }),
                     Fault);
        EXPECT_EQ(42, CallForeignQuietly(
                          [flags] {
                              RaiseException(0, flags, 0, nullptr);
                              return 0;
                          },
                          42));
    }
}

TEST(OwnCode, AnExceptionWithoutACodeIsNoSuccess)
{
    const OwnOutcome outcome = RunOwn([] { RaiseException(0, EXCEPTION_NONCONTINUABLE, 0, nullptr); });
    EXPECT_NE(0u, outcome.answered);
}

TEST(StackLeft, TellsWhetherThereIsAsMuch)
{
    EXPECT_TRUE(HasStackLeft(16 * 1024));
    EXPECT_FALSE(HasStackLeft(1024 * 1024 * 1024));
    // A thread has no more than it was made with.
    struct Seen {
        bool half, whole;
    } seen{};
    const HANDLE thread = CreateThread(
        nullptr, 256 * 1024,
        [](void* context) -> DWORD {
            *static_cast<Seen*>(context) = {HasStackLeft(128 * 1024), HasStackLeft(8 * 1024 * 1024)};
            return 0;
        },
        &seen, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    EXPECT_TRUE(seen.half);
    EXPECT_FALSE(seen.whole);
}

}  // namespace
}  // namespace kzr
