// The two process-wide locks: re-entrant, given back by their guards, and no dead-lock in whatever order.
#include "com/Lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

namespace kzr {
namespace {

using namespace std::chrono_literals;

class Locks : public testing::Test {
  protected:
    void SetUp() override
    {
        BackendLock().Create();
        CacheLock().Create();
    }
    void TearDown() override
    {
        if (m_stuck) return;
        EXPECT_EQ(0, BackendLock().MyDepth());
        EXPECT_EQ(0, CacheLock().MyDepth());
        CacheLock().Delete();
        BackendLock().Delete();
    }

    // Threads that do not end in time are left to themselves, with what they use.
    void ExpectEnds(std::future<void>& work)
    {
        if (work.wait_for(10s) == std::future_status::ready) return;
        m_stuck = true;
        ADD_FAILURE() << "dead-locked";
        std::abort();
    }

  private:
    bool m_stuck = false;
};

bool IsFree(Lock& lock)
{
    return std::async(std::launch::async, [&] { return lock.MyDepth() == 0 && (lock.IsMine() == false); })
        .get();
}

bool CanBeTakenElsewhere(Lock& lock)
{
    std::atomic<bool> taken{false};
    std::thread other([&] {
        const LockGuard held = lock.lock();
        taken = true;
    });
    std::this_thread::sleep_for(50ms);
    const bool did = taken;
    if (did)
        other.join();
    else
        other.detach();
    return did;
}

TEST_F(Locks, AGuardHoldsItUntilItsScopeEnds)
{
    {
        const LockGuard held = BackendLock().lock();
        EXPECT_TRUE(BackendLock().IsMine());
        EXPECT_EQ(1, BackendLock().MyDepth());
        EXPECT_TRUE(IsFree(CacheLock()));
    }
    EXPECT_FALSE(BackendLock().IsMine());
    EXPECT_TRUE(CanBeTakenElsewhere(BackendLock()));
}

TEST_F(Locks, TheHolderMayTakeItAgain)
{
    const LockGuard outer = BackendLock().lock();
    {
        const LockGuard inner = BackendLock().lock();
        EXPECT_EQ(2, BackendLock().MyDepth());
    }
    EXPECT_EQ(1, BackendLock().MyDepth());
}

TEST_F(Locks, AnotherThreadsLockIsNotMine)
{
    std::promise<void> taken, done;
    std::thread holder([&] {
        const LockGuard held = BackendLock().lock();
        taken.set_value();
        done.get_future().wait();
    });
    taken.get_future().wait();
    EXPECT_FALSE(BackendLock().IsMine());
    EXPECT_EQ(0, BackendLock().MyDepth());
    done.set_value();
    holder.join();
}

TEST_F(Locks, AGuardThatWasMovedFromGivesNothingBack)
{
    LockGuard first = BackendLock().lock();
    {
        const LockGuard second = std::move(first);
        EXPECT_EQ(1, BackendLock().MyDepth());
    }
    EXPECT_EQ(0, BackendLock().MyDepth());
}

TEST_F(Locks, AnExceptionGivesItBack)
{
    EXPECT_THROW(
        {
            const LockGuard held = BackendLock().lock();
            const LockGuard again = BackendLock().lock();
            throw std::runtime_error("passing");
        },
        std::runtime_error);
    EXPECT_EQ(0, BackendLock().MyDepth());
}

TEST_F(Locks, BothAreHeldTogetherAndGivenBackTogether)
{
    {
        const LockBothGuard held = LockCacheThenBackend();
        EXPECT_EQ(1, CacheLock().MyDepth());
        EXPECT_EQ(1, BackendLock().MyDepth());
    }
    EXPECT_EQ(0, CacheLock().MyDepth());
    EXPECT_EQ(0, BackendLock().MyDepth());
}

TEST_F(Locks, WhatWasTakenBeyondADepthCanBeGivenBackAtOnce)
{
    const LockGuard outer = BackendLock().lock();
    // Guards whose destructors never run, as after an unwinding that skips them.
    alignas(LockGuard) unsigned char lost[2][sizeof(LockGuard)];
    new (lost[0]) LockGuard(BackendLock().lock());
    new (lost[1]) LockGuard(BackendLock().lock());
    EXPECT_EQ(3, BackendLock().MyDepth());
    BackendLock().LeaveDownTo(1);
    EXPECT_EQ(1, BackendLock().MyDepth());
    BackendLock().LeaveDownTo(5);
    EXPECT_EQ(1, BackendLock().MyDepth());
}

TEST_F(Locks, TwoThreadsThatTakeBothInEitherOrderEnd)
{
    // One rebuilds the cache; one is re-entered in a backend call and then wants the cache.
    auto both = std::async(std::launch::async, [] {
        for (int i = 0; i < 20000; ++i) const LockBothGuard held = LockCacheThenBackend();
    });
    auto reversed = std::async(std::launch::async, [] {
        for (int i = 0; i < 20000; ++i) {
            const LockGuard backend = BackendLock().lock();
            const LockGuard cache = CacheLock().lock();
        }
    });
    ExpectEnds(both);
    ExpectEnds(reversed);
}

TEST_F(Locks, AReentrantHolderAndTwoRebuildsEnd)
{
    auto reentrant = std::async(std::launch::async, [] {
        for (int i = 0; i < 5000; ++i) {
            const LockGuard backend = BackendLock().lock();
            const LockBothGuard both = LockCacheThenBackend();
            const LockGuard again = BackendLock().lock();
        }
    });
    auto rebuild = [] {
        for (int i = 0; i < 5000; ++i) {
            const LockBothGuard both = LockCacheThenBackend();
            const LockGuard backend = BackendLock().lock();
        }
    };
    auto first = std::async(std::launch::async, rebuild);
    auto second = std::async(std::launch::async, rebuild);
    ExpectEnds(reentrant);
    ExpectEnds(first);
    ExpectEnds(second);
}

TEST_F(Locks, WaitingForTheBackendLeavesTheCacheToOthers)
{
    std::promise<void> inside;
    auto reader = std::async(std::launch::async, [&] {
        const LockGuard backend = BackendLock().lock();
        inside.set_value();
        std::this_thread::sleep_for(200ms);
        // The other thread waits for us by now; it must not hold what we ask for.
        const LockGuard cache = CacheLock().lock();
    });
    inside.get_future().wait();
    auto waiting = std::async(std::launch::async, [] { const LockBothGuard both = LockCacheThenBackend(); });
    ExpectEnds(reader);
    ExpectEnds(waiting);
}

}  // namespace
}  // namespace kzr
