// The cache with a backend behind it: what it asks, how answers become text, its two locks, its life.
#include "cache/CacheManager.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <vector>

#include "backend/AxKzrApp.h"
#include "com/Error.h"
#include "com/Lock.h"
#include "log/Log.h"
#include "support/LogReader.h"
#include "support/NothrowNew.h"
#include "support/ScriptedBackend.h"

namespace kzr {
namespace {

using namespace std::chrono_literals;
using test::Answer;
using test::I2;
using test::Value;

constexpr wchar_t kGetDeviceInfo[] = L"GetDeviceInfo";

class CacheManager : public testing::Test {
  protected:
    void SetUp() override
    {
        SetLogLevelAndPath("emerg", "");
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        BackendLock().Create();
        CacheLock().Create();
        backend.emplace();
        app = CAxKzrApp::Instance();
        ASSERT_TRUE(app);
        backend->ForgetCalls();
        cache = CCacheManager::Instance();
        ASSERT_TRUE(cache);
    }

    void TearDown() override
    {
        EXPECT_TRUE(LocksAreFree());
        CCacheManager::Destroy();
        app.reset();
        CAxKzrApp::Release();
        EXPECT_EQ("", backend->Unused());
        backend.reset();
        CacheLock().Delete();
        BackendLock().Delete();
        CoUninitialize();
        SetLogLevelAndPath("trace", "");
    }

    // Every question about this device gets this answer, but the type's.
    void Device(const wchar_t* deviceSN, const Answer& csp, const Answer& extLib,
                const Answer& type = L"HARD")
    {
        backend->Allow(kGetDeviceInfo, {deviceSN, I2(9)}, csp);
        backend->Allow(kGetDeviceInfo, {deviceSN, I2(8)}, extLib);
        backend->Allow(kGetDeviceInfo, {deviceSN, I2(7)}, type);
    }

    // Alice and Bob, and a third who shares Bob's device.
    void FillCache()
    {
        auto users = test::DefaultUsers();
        users.push_back({L"Carol", L"c3", L"SN02", L"CSP2", L"EXT2"});
        backend->SetUsers(users);
        cache->UpdateUserList(test::UserListOf(users), app.get());
    }

    // As another thread sees them.
    static bool LocksAreFree()
    {
        return std::async(std::launch::async,
                          [] {
                              CCacheManager* const seen = CCacheManager::Instance();
                              auto reading = std::async(std::launch::async, [seen] {
                                  if (seen) seen->GetUserList();
                                  const LockGuard held = BackendLock().lock();
                              });
                              return reading.wait_for(2s) == std::future_status::ready;
                          })
            .get();
    }

    static HRESULT ErrorOf(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const ComError& error) {
            return error.Result();
        }
        return S_OK;
    }

    std::optional<test::ScriptedBackend> backend;
    std::shared_ptr<CAxKzrApp> app;
    CCacheManager* cache = nullptr;
};

TEST_F(CacheManager, AsksForEachEntryTheCspNameTheLibraryAndTheTypeAsSixteenBitNumbers)
{
    FillCache();
    const auto calls = backend->Calls();
    const test::Values expected[] = {
        {L"SN01", I2(9)}, {L"SN01", I2(8)}, {L"SN01", I2(7)}, {L"SN02", I2(9)}, {L"SN02", I2(8)},
        {L"SN02", I2(7)}, {L"SN02", I2(9)}, {L"SN02", I2(8)}, {L"SN02", I2(7)},
    };
    ASSERT_EQ(std::size(expected), calls.size());
    for (std::size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(kGetDeviceInfo, calls[i].name);
        EXPECT_EQ(expected[i], calls[i].arguments) << i;
    }
}

TEST_F(CacheManager, AnswersEveryLookUp)
{
    FillCache();
    EXPECT_EQ(L"SN01", cache->GetDeviceSNByContainer(L"c1"));
    EXPECT_EQ(L"SN02", cache->GetDeviceSNByContainer(L"c2/anything"));
    EXPECT_EQ(L"c1/SN01", cache->GetUniqueIdByContainer(L"c1"));
    EXPECT_EQ(L"CSP1", cache->GetCspNameByContainer(L"c1"));
    EXPECT_EQ(L"EXT2", cache->GetExtLibNameByContainer(L"c2"));
    EXPECT_EQ(L"c2/SN02", cache->GetUniqueIdByCspName(L"CSP2"));
    EXPECT_EQ(L"c2/SN02", cache->GetUniqueIdByExtLibName(L"EXT2"));
    EXPECT_EQ(L"SN01", cache->GetDeviceSNByExtLibName(L"EXT1"));
    EXPECT_EQ(L"c2&&&c3&&&", cache->GetContainersByCspName(L"CSP2"));
    EXPECT_EQ(L"Alice||c1&&&Bob||c2&&&Carol||c3&&&", cache->GetUserList());
}

TEST_F(CacheManager, KeepsTextThatNoCodePageHolds)
{
    Device(L"\x5E8F\x53F7", L"\x8BBE\x5907\x0416", L"\xD83D\xDE00");
    cache->UpdateUserList(L"\x5F20\x4E09||\x5BB9\x5668/\x5E8F\x53F7&&&", app.get());
    EXPECT_EQ(L"\x5BB9\x5668/\x5E8F\x53F7", cache->GetUniqueIdByContainer(L"\x5BB9\x5668"));
    EXPECT_EQ(L"\x8BBE\x5907\x0416", cache->GetCspNameByContainer(L"\x5BB9\x5668"));
    EXPECT_EQ(L"\xD83D\xDE00", cache->GetExtLibNameByContainer(L"\x5BB9\x5668"));
}

TEST_F(CacheManager, ConvertsAnswersOfOtherTypesToText)
{
    Device(L"SN", test::I4(42), test::ByRef(Value(L"by reference")), test::I2(-7));
    cache->UpdateUserList(L"||c/SN&&&", app.get());
    EXPECT_EQ(L"42", cache->GetCspNameByContainer(L"c"));
    EXPECT_EQ(L"by reference", cache->GetExtLibNameByContainer(L"c"));
}

TEST_F(CacheManager, TakesAnEmptyANullAndANoTextAnswerForNoText)
{
    Device(L"SN1", test::Empty(), test::Null(), test::NullText());
    Device(L"SN2", test::NullText(), test::Empty(), test::Null());
    cache->UpdateUserList(L"||c1/SN1&&&||c2/SN2&&&", app.get());
    EXPECT_EQ(L"c1&&&c2&&&", cache->GetContainersByCspName(L""));
    EXPECT_EQ(L"c1/SN1", cache->GetUniqueIdByExtLibName(L""));
}

TEST_F(CacheManager, KeepsNullsInsideAnAnswer)
{
    const std::wstring name(L"a\0b", 3);
    Device(L"SN", Value(name), L"");
    cache->UpdateUserList(L"||c/SN&&&", app.get());
    EXPECT_EQ(name, cache->GetCspNameByContainer(L"c"));
}

TEST_F(CacheManager, LeavesSoftwareStoresOutWhateverTypeTheAnswerHas)
{
    Device(L"SN1", L"csp", L"lib", L"soft");
    Device(L"SN2", L"csp", L"lib", test::ByRef(Value(L"SOFT")));
    Device(L"SN3", L"csp", L"lib", test::Empty());
    cache->UpdateUserList(L"||c1/SN1&&&||c2/SN2&&&||c3/SN3&&&", app.get());
    EXPECT_EQ(L"||c3&&&", cache->GetUserList());
}

TEST_F(CacheManager, DoesNotMindAFailedQuestion)
{
    Device(L"SN1", test::Fails(E_FAIL), test::Fails(E_ACCESSDENIED), test::Fails(DISP_E_EXCEPTION));
    Device(L"SN2", test::Fails(E_FAIL, Value(L"left there")), L"lib", test::Fails(E_FAIL, Value(L"SOFT")));
    Device(L"SN3", test::Fails(E_FAIL, Value(L"left there")), L"lib");
    cache->UpdateUserList(L"||c1/SN1&&&||c2/SN2&&&||c3/SN3&&&", app.get());
    EXPECT_EQ(L"||c1&&&||c3&&&", cache->GetUserList());
    EXPECT_EQ(L"", cache->GetCspNameByContainer(L"c1"));
    EXPECT_EQ(L"left there", cache->GetCspNameByContainer(L"c3"));
}

TEST_F(CacheManager, DoesNotMindABackendWithoutTheMethod)
{
    backend->Allow(kGetDeviceInfo, test::UnknownName());
    cache->UpdateUserList(L"A||c1/SN1&&&", app.get());
    EXPECT_EQ(L"c1/SN1", cache->GetUniqueIdByContainer(L"c1"));
    EXPECT_EQ(L"", cache->GetCspNameByContainer(L"c1"));
}

TEST_F(CacheManager, DoesNotMindAReleasedBackend)
{
    CAxKzrApp::Release();
    cache->UpdateUserList(L"A||c1/SN1&&&", app.get());
    EXPECT_EQ(L"A||c1&&&", cache->GetUserList());
    EXPECT_TRUE(backend->Calls().empty());
}

TEST_F(CacheManager, AnAnswerThatCannotBeTextEndsTheRebuildWithItsError)
{
    for (const Value& answer : {test::Error(E_FAIL), test::Object(nullptr)}) {
        backend->ForgetEverything();
        Device(L"SN1", L"csp", L"lib");
        Device(L"SN2", L"csp", answer);
        const HRESULT result =
            ErrorOf([&] { cache->UpdateUserList(L"A||c1/SN1&&&B||c2/SN2&&&C||c3/SN3&&&", app.get()); });
        // For an object that is none, platforms differ.
        EXPECT_TRUE(FAILED(result)) << test::Describe(answer);
        EXPECT_TRUE(answer.Type() == VT_DISPATCH || result == DISP_E_TYPEMISMATCH);
        EXPECT_TRUE(LocksAreFree());
        EXPECT_EQ(L"A||c1&&&", cache->GetUserList());
        EXPECT_EQ(L"", cache->GetUniqueIdByContainer(L"c2"));
    }
}

TEST_F(CacheManager, AFaultOfTheBackendLeavesBothLocksFreeAndAWholeTable)
{
    for (const test::FaultKind kind : test::kAllFaults) {
        backend->ForgetEverything();
        Device(L"SN1", L"csp", L"lib");
        Device(L"SN2", L"csp", L"lib", test::Faults(kind));
        EXPECT_ANY_THROW(cache->UpdateUserList(L"A||c1/SN1&&&B||c2/SN2&&&", app.get())) << test::NameOf(kind);
        EXPECT_TRUE(LocksAreFree()) << test::NameOf(kind);
        EXPECT_EQ(L"A||c1&&&", cache->GetUserList()) << test::NameOf(kind);

        FillCache();
        EXPECT_EQ(L"Alice||c1&&&Bob||c2&&&Carol||c3&&&", cache->GetUserList()) << test::NameOf(kind);
    }
}

TEST_F(CacheManager, WithoutABackendTheTableIsEmptied)
{
    FillCache();
    backend->ForgetCalls();
    cache->UpdateUserList(L"A||c1/SN1&&&", nullptr);
    EXPECT_EQ(L"", cache->GetUserList());
    EXPECT_TRUE(backend->Calls().empty());
}

TEST_F(CacheManager, IsOneForTheWholeProcessUntilItIsDestroyed)
{
    FillCache();
    EXPECT_EQ(cache, CCacheManager::Instance());
    EXPECT_EQ(cache, std::async(std::launch::async, [] { return CCacheManager::Instance(); }).get());
    CCacheManager::Destroy();
    ASSERT_TRUE(CCacheManager::Instance());
    EXPECT_EQ(L"", CCacheManager::Instance()->GetUserList());
    CCacheManager::Destroy();
    CCacheManager::Destroy();
}

TEST_F(CacheManager, IsNullWithoutMemoryAndTriedAgainLater)
{
    CCacheManager::Destroy();
    {
        const test::NothrowNewFails empty;
        EXPECT_EQ(nullptr, CCacheManager::Instance());
    }
    EXPECT_NE(nullptr, CCacheManager::Instance());
}

TEST_F(CacheManager, EveryOperationWaitsForTheCacheLock)
{
    FillCache();
    const std::function<void()> operations[] = {
        [this] { cache->GetDeviceSNByContainer(L"c1"); },
        [this] { cache->GetUniqueIdByContainer(L"c1"); },
        [this] { cache->GetCspNameByContainer(L"c1"); },
        [this] { cache->GetExtLibNameByContainer(L"c1"); },
        [this] { cache->GetUniqueIdByCspName(L"CSP1"); },
        [this] { cache->GetUniqueIdByExtLibName(L"EXT1"); },
        [this] { cache->GetDeviceSNByExtLibName(L"EXT1"); },
        [this] { cache->GetContainersByCspName(L"CSP1"); },
        [this] { cache->GetUserList(); },
        [this] { cache->UpdateUserList(L"", nullptr); },
    };
    int number = 0;
    for (const auto& operation : operations) {
        std::future<void> running;
        {
            const LockGuard held = CacheLock().lock();
            running = std::async(std::launch::async, operation);
            EXPECT_EQ(std::future_status::timeout, running.wait_for(30ms)) << number;
        }
        EXPECT_EQ(std::future_status::ready, running.wait_for(5s)) << number;
        ++number;
    }
}

TEST_F(CacheManager, NobodyReadsAHalfMadeTable)
{
    FillCache();
    backend->ForgetEverything();
    std::future<std::wstring> reading;
    Device(L"SN1", L"csp", L"lib");
    Device(L"SN2", Answer(L"csp").Running([&] {
        reading = std::async(std::launch::async, [this] { return cache->GetUserList(); });
        EXPECT_EQ(std::future_status::timeout, reading.wait_for(50ms));
    }),
           L"lib");
    cache->UpdateUserList(L"X||x1/SN1&&&Y||x2/SN2&&&", app.get());
    ASSERT_TRUE(reading.valid());
    EXPECT_EQ(L"X||x1&&&Y||x2&&&", reading.get());
}

TEST_F(CacheManager, ARebuildThatWaitsForTheBackendDoesNotHoldTheCache)
{
    FillCache();
    std::future<void> rebuilding;
    bool read = false;
    backend->Expect(L"SOF_Busy", {}, Answer(L"").Running([&] {
        // A backend at work lets another thread's rebuild come, then something that reads the cache.
        rebuilding =
            std::async(std::launch::async, [this] { cache->UpdateUserList(L"Z||z/SN01&&&", app.get()); });
        EXPECT_EQ(std::future_status::timeout, rebuilding.wait_for(50ms));
        auto reading = std::async(std::launch::async, [this] { return cache->GetUserList(); });
        const bool free = reading.wait_for(2s) == std::future_status::ready;
        EXPECT_TRUE(free);
        if (free) read = cache->GetUserList() == reading.get();
    }));
    Variant ignored;
    EXPECT_EQ(S_OK, app->Call(L"SOF_Busy", ignored));
    EXPECT_TRUE(read);
    ASSERT_EQ(std::future_status::ready, rebuilding.wait_for(5s));
    EXPECT_EQ(L"Z||z&&&", cache->GetUserList());
}

TEST_F(CacheManager, ACallOfTheBackendMayRebuildTheCacheOnItsOwnThread)
{
    FillCache();
    backend->Expect(L"SOF_Busy", {},
                    Answer(L"").Running([&] { cache->UpdateUserList(L"Z||z/SN01&&&", app.get()); }));
    Variant ignored;
    EXPECT_EQ(S_OK, app->Call(L"SOF_Busy", ignored));
    EXPECT_EQ(L"Z||z&&&", cache->GetUserList());
}

TEST_F(CacheManager, ThreadsThatRebuildAndReadAtOnceNeverSeeAnythingElse)
{
    FillCache();
    const std::wstring first = L"Alice||c1&&&Bob||c2&&&Carol||c3&&&";
    const std::wstring second = L"Alice||c1&&&";
    std::vector<std::future<int>> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.push_back(std::async(std::launch::async, [&, thread] {
            int wrong = 0;
            for (int i = 0; i < 50; ++i) {
                if (thread == 0) cache->UpdateUserList(L"Alice||c1/SN01&&&", app.get());
                if (thread == 1) {
                    cache->UpdateUserList(L"Alice||c1/SN01&&&Bob||c2/SN02&&&Carol||c3/SN02&&&", app.get());
                }
                const std::wstring seen = cache->GetUserList();
                wrong += seen != first && seen != second;
            }
            return wrong;
        }));
    }
    for (auto& thread : threads) {
        EXPECT_EQ(0, thread.get());
    }
    EXPECT_EQ(0, backend->Overlaps());
}

TEST_F(CacheManager, SaysNothingInTheLog)
{
    test::LogReader log;
    SetLogLevelAndPath("trace", LogFilePath().c_str());
    FillCache();
    const auto records = log.Take();
    EXPECT_EQ(18u, records.size());  // the two lines of each of the nine calls
    for (const auto& record : records) {
        EXPECT_EQ("AxKzrApp", record.source);
    }
    cache->GetUserList();
    cache->GetUniqueIdByContainer(L"no such");
    cache->UpdateUserList(L"A||c1/SN1&&&", nullptr);
    CCacheManager::Destroy();
    cache = CCacheManager::Instance();
    EXPECT_TRUE(log.Take().empty());
}

}  // namespace
}  // namespace kzr
