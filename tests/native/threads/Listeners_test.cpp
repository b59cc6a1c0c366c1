// The list of windows that hear events: written by threads while others walk it, without a lock. Built once
// more with atomics that are none, which must end in a report.
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>
#include <vector>

#include "backend/KzrAppEventSink.h"
#include "native/shim/Shim.h"
#include "support/Rounds.h"

namespace kzr {
namespace {

TEST(Listeners, AreAddedWhileEventsArrive)
{
    constexpr int kWriters = 6, kReaders = 2;
    const int windows = test::Rounds(300, 1500);
    CKzrAppEventSink* sink = nullptr;
    ASSERT_EQ(S_OK, CKzrAppEventSink::Create(&sink));
    sink->AddRef();
    std::vector<std::thread> threads;
    for (int i = 0; i < kWriters; ++i)
        threads.emplace_back([=] {
            // Every window comes from two threads.
            for (int n = 1; n <= windows; ++n) sink->AddListener(shim::WindowOf(10000 * (1 + i / 2) + n));
        });
    for (int i = 0; i < kReaders; ++i)
        threads.emplace_back([=] {
            for (int n = 0; n < windows; ++n)
                sink->Invoke(1, IID_NULL, 0, 1, nullptr, nullptr, nullptr, nullptr);
        });
    for (std::thread& thread : threads) thread.join();

    const long before = shim::MessagesPosted();
    sink->Invoke(1, IID_NULL, 0, 1, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(kWriters / 2L * windows, shim::MessagesPosted() - before) << "each window once";
    std::printf("did: thread sanitizer: %d listeners\n", kWriters * windows);
    sink->Release();
    sink->ReleaseOwner();
}

TEST(Listeners, AHandleThatNowIsAnotherThreadsWindowIsListedAnew)
{
    CKzrAppEventSink* sink = nullptr;
    ASSERT_EQ(S_OK, CKzrAppEventSink::Create(&sink));
    const auto messagesOfAnEvent = [sink] {
        const long before = shim::MessagesPosted();
        sink->Invoke(1, IID_NULL, 0, 1, nullptr, nullptr, nullptr, nullptr);
        return shim::MessagesPosted() - before;
    };
    sink->AddListener(shim::WindowOf(1));
    EXPECT_EQ(1, messagesOfAnEvent());

    shim::MoveWindowsToThread(2);
    EXPECT_EQ(0, messagesOfAnEvent()) << "the listener has gone";
    for (int i = 0; i < 2; ++i) sink->AddListener(shim::WindowOf(1));
    EXPECT_EQ(1, messagesOfAnEvent());

    shim::MoveWindowsToThread(1);
    sink->ReleaseOwner();
}

TEST(Listeners, ReferencesComeAndGoOnEveryThread)
{
    const int rounds = test::Rounds(5000, 100000);
    CKzrAppEventSink* sink = nullptr;
    ASSERT_EQ(S_OK, CKzrAppEventSink::Create(&sink));
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([=] {
            for (int n = 0; n < rounds; ++n) {
                sink->AddRef();
                sink->Release();
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(1u, sink->AddRef());
    EXPECT_EQ(0u, sink->Release());
    sink->ReleaseOwner();
}

}  // namespace
}  // namespace kzr
