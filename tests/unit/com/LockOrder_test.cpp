// The debug build's check of the lock order finds the order that is planted for it; the others do not have
// it.
#include <gtest/gtest.h>

#include <io.h>

#include <cstdio>

#include "com/Lock.h"
#include "support/ChildProcess.h"

namespace kzr {
namespace {

using test::ChildResult;

#ifdef NDEBUG
constexpr bool kChecked = false;
#else
constexpr bool kChecked = true;
#endif

constexpr DWORD kCodeOfAbort = 3;

// What the check says goes where the parent reads it.
void Begin()
{
    _dup2(_fileno(stdout), _fileno(stderr));
    BackendLock().Create();
    CacheLock().Create();
}

KZR_CHILD(WaitsForTheBackendWithTheCacheInHand)
{
    Begin();
    const LockGuard cache = CacheLock().lock();
    const LockGuard backend = BackendLock().lock();
    std::puts("went through");
    return 0;
}

KZR_CHILD(TakesTheLocksAsItMay)
{
    Begin();
    {
        const LockGuard backend = BackendLock().lock();
        const LockGuard cache = CacheLock().lock();
        // Nobody waits for what he holds.
        const LockGuard again = BackendLock().lock();
    }
    {
        const LockBothGuard both = LockCacheThenBackend();
        const LockGuard again = BackendLock().lock();
    }
    std::puts("went through");
    return 0;
}

TEST(LockOrder, WaitingForTheBackendWithTheCacheInHandIsFoundWhereItIsChecked)
{
    const ChildResult ended = test::RunChild("WaitsForTheBackendWithTheCacheInHand");
    ASSERT_TRUE(ended.started);
    EXPECT_EQ(kChecked ? kCodeOfAbort : 0u, ended.code) << ended.output;
    EXPECT_EQ(kChecked, ended.output.find("g_cacheLock.IsMine()") != std::string::npos) << ended.output;
    EXPECT_EQ(!kChecked, ended.output.find("went through") != std::string::npos) << ended.output;
}

TEST(LockOrder, EveryOrderThatIsAllowedGoesThroughTheCheck)
{
    const ChildResult ended = test::RunChild("TakesTheLocksAsItMay");
    ASSERT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("went through")) << ended.output;
}

}  // namespace
}  // namespace kzr
