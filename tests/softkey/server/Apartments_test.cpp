// Several apartments that come to the module at the same moment.
#include <latch>
#include <thread>

#include "softkey/server/ServerTest.h"
#include "support/ComponentTest.h"

namespace kzr::test {
namespace {

using ServerApartments = ServerTest;

// Each round with the module loaded anew, so that the window class is registered again.
TEST_F(ServerApartments, ControlsThatAreMadeFirstAndTogetherAreAllMade)
{
    constexpr int kThreads = 6;
    std::atomic<int> made{0};
    constexpr int kRounds = 30;
    control.Reset();
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_TRUE(PumpUntil([this] { return dll->CanUnloadNow() == S_OK; })) << round;
        dll->Unload();
        dll->Load();
        std::latch start(kThreads);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
                start.arrive_and_wait();
                made += !!NewControl();
                CoUninitialize();
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
    EXPECT_EQ(kRounds * kThreads, made);
}

}  // namespace
}  // namespace kzr::test
