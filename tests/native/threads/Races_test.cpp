// The rooms that threads share, under the thread sanitizer: the instance and its count, the calls, the cache,
// the listener list. A race ends the program; each kind of missing lock is planted in a child and must end
// it.
#include <gtest/gtest.h>

#include <unistd.h>

#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "backend/AxKzrApp.h"
#include "cache/CacheManager.h"
#include "com/Lock.h"
#include "native/shim/Shim.h"
#include "native/threads/FakeBackend.h"
#include "support/Rounds.h"

namespace kzr {
namespace {

using test::FakeBackend;

constexpr int kThreads = 8;
constexpr char kPlant[] = "KZR_PLANT";

void OnThreads(const std::function<void(int)>& work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

// A line for the table of script/harden.
void Did(int count, const char* what) { std::printf("did: thread sanitizer: %d %s\n", count, what); }

class Races : public testing::Test {
  protected:
    void SetUp() override
    {
        const char* const plant = std::getenv(kPlant);
        shim::LeaveOutLock(plant ? std::atoi(plant) : -1);
        BackendLock().Create();
        CacheLock().Create();
        FakeBackend::Forget();
    }
    void TearDown() override
    {
        EXPECT_EQ(0, FakeBackend::Alive());
        CCacheManager::Destroy();
        CacheLock().Delete();
        BackendLock().Delete();
    }
};

TEST_F(Races, EightThreadsThatComeFirstShareOneInstance)
{
    const int rounds = test::Rounds(1000, 10000);
    std::barrier start(kThreads);
    std::barrier end(kThreads);
    OnThreads([&](int) {
        for (int i = 0; i < rounds; ++i) {
            start.arrive_and_wait();
            EXPECT_TRUE(CAxKzrApp::Instance());
            end.arrive_and_wait();
            CAxKzrApp::Release();
        }
    });
    EXPECT_EQ(rounds, FakeBackend::Made());
    Did(rounds, "first instances");
}

TEST_F(Races, InstancesComeAndGoWhileOthersCall)
{
    const int rounds = test::Rounds(5000, 50000);
    OnThreads([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            const std::shared_ptr<CAxKzrApp> app = CAxKzrApp::Instance();
            Variant answer;
            if (thread % 2) app->Call(L"SOF_SignData", answer, std::wstring(L"c1/SN01"), L"text");
            CAxKzrApp::Release();
            // The memory of an instance that somebody still holds stays, whoever released it.
            if (thread == 0) app->Call(L"SOF_Login", answer, L"late");
        }
    });
    EXPECT_GT(FakeBackend::Calls(), 4L * rounds);
    Did(kThreads * rounds, "instances that come and go");
}

TEST_F(Races, TheCacheIsRebuiltWhileOthersRead)
{
    const std::shared_ptr<CAxKzrApp> app = CAxKzrApp::Instance();
    const std::wstring lists[] = {L"Alice||c1/SN01&&&Bob||c2/SN02&&&", L"Carol||c3/SN03&&&"};
    const int rounds = test::Rounds(5000, 50000);
    OnThreads([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            CCacheManager& cache = *CCacheManager::Instance();
            if (thread < 3) cache.UpdateUserList(lists[(i + thread) % 2], app.get());
            const std::wstring found = cache.GetUniqueIdByContainer(thread % 2 ? L"c1" : L"c3");
            EXPECT_TRUE(found.empty() || found == (thread % 2 ? L"c1/SN01" : L"c3/SN03"));
            cache.GetContainersByCspName(L"answerSN019");
            cache.GetUserList();
        }
    });
    CAxKzrApp::Release();
    Did(kThreads * rounds, "uses of the cache");
}

TEST_F(Races, EightThreadsThatComeFirstShareOneCache)
{
    const int rounds = test::Rounds(1000, 10000);
    std::barrier step(kThreads);
    std::vector<CCacheManager*> found(kThreads);
    OnThreads([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            step.arrive_and_wait();
            found[static_cast<std::size_t>(thread)] = CCacheManager::Instance();
            step.arrive_and_wait();
            EXPECT_EQ(found[0], found[static_cast<std::size_t>(thread)]);
            step.arrive_and_wait();
            if (thread == 0) CCacheManager::Destroy();
        }
    });
    Did(rounds, "first caches");
}

TEST_F(Races, ThreadsThatTakeTheLocksInEitherOrderEnd)
{
    long guarded = 0;
    const int rounds = test::Rounds(5000, 50000);
    OnThreads([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            if (thread % 2) {
                const LockBothGuard both = LockCacheThenBackend();
                ++guarded;
            } else {
                const LockGuard backend = BackendLock().lock();
                const LockGuard cache = CacheLock().lock();
                ++guarded;
            }
        }
    });
    EXPECT_EQ(static_cast<long>(kThreads) * rounds, guarded);
}

// Runs a command line in which "%" is this program's folder; the sanitizer must end it.
void ExpectReported(std::string command)
{
    char self[4096] = {};
    ASSERT_GT(readlink("/proc/self/exe", self, sizeof(self) - 1), 0);
    const std::string path = self;
    command.replace(command.find('%'), 1, "'" + path.substr(0, path.rfind('/')) + "'");
    command = "TSAN_OPTIONS=halt_on_error=1:exitcode=66 " + command + " 2>&1";
    FILE* const child = popen(command.c_str(), "r");
    ASSERT_TRUE(child);
    std::string output;
    char buffer[4096];
    while (const std::size_t read = fread(buffer, 1, sizeof(buffer), child)) output.append(buffer, read);
    const int status = pclose(child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 66) << command << "\n" << output;
    EXPECT_NE(std::string::npos, output.find("WARNING: ThreadSanitizer: data race")) << output;
}

TEST(PlantedRaces, AMissingBackendLockIsReported)
{
    ExpectReported(
        "KZR_PLANT=0 %/kzr_native_threads_tests --gtest_filter=Races.InstancesComeAndGoWhileOthersCall");
    ExpectReported(
        "KZR_PLANT=0 %/kzr_native_threads_tests --gtest_filter=Races.EightThreadsThatComeFirst*Instance");
}

TEST(PlantedRaces, AMissingCacheLockIsReported)
{
    ExpectReported(
        "KZR_PLANT=1 %/kzr_native_threads_tests --gtest_filter=Races.TheCacheIsRebuiltWhileOthersRead");
}

TEST_F(Races, WaitingForTheBackendWithTheCacheInHandEndsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            const LockGuard cache = CacheLock().lock();
            const LockGuard backend = BackendLock().lock();
        },
        "g_cacheLock.IsMine");
}

TEST(PlantedRaces, AListThatIsLinkedWithoutAtomicsIsReported)
{
    ExpectReported("%/kzr_planted_listeners --gtest_filter=Listeners.AreAddedWhileEventsArrive");
}

}  // namespace
}  // namespace kzr
