// The logins of a process, as callers find them who have seen the key in different pluggings.
#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "base/Failure.h"
#include "server/Sessions.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

const Secret kOlderKey = {1, 2, 3};
const Secret kNewerKey = {4, 5, 6};

Look Sees(const char* plugging)
{
    return [plugging] { return plugging; };
}
std::optional<std::string> Pulled() { return std::nullopt; }

class ServerSessions : public testing::Test {
  public:
    void TearDown() override
    {
        if (another.valid()) another.wait();
        Sessions::EndAll();
    }

    static bool Refused(const char* serialNumber, const char* plugging)
    {
        try {
            Sessions::DeviceKey(serialNumber, plugging);
        } catch (const Failure& failure) {
            return failure.Why() == Cause::NotLoggedIn;
        }
        return false;
    }
    static void Begin(const char* serialNumber, const char* plugging, const Secret& deviceKey)
    {
        Sessions::Begin(serialNumber, plugging, deviceKey, Sees(plugging));
    }
    // A login that finds the key pulled since its PIN was tried.
    static bool BeginsTooLate(const char* serialNumber, const char* plugging, const Look& look)
    {
        try {
            Sessions::Begin(serialNumber, plugging, kOlderKey, look);
        } catch (const Failure& failure) {
            return failure.Why() == Cause::UnknownKey;
        }
        return false;
    }

    // What it saw is over when it answers: the key is back, and somebody logs in, as far as they can.
    Look SlowLook(std::optional<std::string> seen)
    {
        return [this, seen] {
            another = std::async(std::launch::async, [] { Begin("SN01", "newer", kNewerKey); });
            another.wait_for(std::chrono::milliseconds(300));
            return seen;
        };
    }

    std::future<void> another;
};

TEST_F(ServerSessions, ACallerWhoSawTheKeyBeforeItWasPulledIsRefusedAndLeavesTheNewerLogin)
{
    Begin("SN01", "older", kOlderKey);
    Begin("SN01", "newer", kNewerKey);
    EXPECT_TRUE(Refused("SN01", "older"));
    ASSERT_TRUE(Sessions::Any()) << "the newer login was thrown away";
    EXPECT_EQ(kNewerKey, Sessions::DeviceKey("SN01", "newer"));
}

TEST_F(ServerSessions, OneOfAnOlderPluggingServesNobodyAndEndsWithTheNewsOfThePull)
{
    Begin("SN01", "older", kOlderKey);
    EXPECT_TRUE(Refused("SN01", "newer"));
    EXPECT_TRUE(Refused("SN01", "")) << "of a key that says nothing of its plugging";
    Sessions::EndIfPulled("SN01", Sees("newer"));
    EXPECT_FALSE(Sessions::Any());
    EXPECT_TRUE(Refused("SN01", "older"));
}

TEST_F(ServerSessions, TheNewsOfAPullEndsTheLoginsOfKeysThatAreGoneOrCannotBeReadAndNoOther)
{
    Begin("SN01", "newer", kNewerKey);
    Begin("SN02", "older", kOlderKey);
    Begin("SN03", "older", kOlderKey);
    Sessions::EndIfPulled("SN01", Sees("newer"));
    Sessions::EndIfPulled("SN02", Pulled);
    Sessions::EndIfPulled("SN03", []() -> std::optional<std::string> { throw Failure(Cause::File, ""); });
    EXPECT_EQ(kNewerKey, Sessions::DeviceKey("SN01", "newer"));
    EXPECT_TRUE(Refused("SN02", "older"));
    EXPECT_TRUE(Refused("SN03", "older"));
}

TEST_F(ServerSessions, OneOfAnOlderPluggingIsReplacedByTheNextLogin)
{
    Begin("SN01", "older", kOlderKey);
    Begin("SN01", "newer", kNewerKey);
    Sessions::EndIfPulled("SN01", Pulled);
    EXPECT_FALSE(Sessions::Any()) << "the older one was kept";
}

TEST_F(ServerSessions, ALoginThatComesTooLateIsRefusedAndTakesTheNewerOnesPlaceNever)
{
    Begin("SN01", "newer", kNewerKey);
    EXPECT_TRUE(BeginsTooLate("SN01", "older", Sees("newer")));
    EXPECT_TRUE(BeginsTooLate("SN02", "older", Pulled));
    EXPECT_EQ(kNewerKey, Sessions::DeviceKey("SN01", "newer"));
    EXPECT_TRUE(Refused("SN02", "older"));
}

TEST_F(ServerSessions, ALoginThatComesWhileAnotherOneLooksAtTheKeyIsNotReplacedByIt)
{
    Sessions::Begin("SN01", "older", kOlderKey, SlowLook("older"));
    another.get();
    EXPECT_FALSE(Refused("SN01", "newer")) << "the older login took its place";
}

TEST_F(ServerSessions, ALoginThatComesWhileTheNewsOfThePullLooksAtTheKeyIsNotEndedByIt)
{
    for (const std::optional<std::string>& seen : {Pulled(), std::optional<std::string>("between")}) {
        Begin("SN01", "older", kOlderKey);
        Sessions::EndIfPulled("SN01", SlowLook(seen));
        another.get();
        EXPECT_FALSE(Refused("SN01", "newer")) << seen.value_or("pulled");
        Sessions::EndAll();
    }
}

}  // namespace
}  // namespace kzr::test
