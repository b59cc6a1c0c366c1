// The logins of a process, as callers find them who have seen the key in different pluggings.
#include <gtest/gtest.h>

#include "base/Failure.h"
#include "server/Sessions.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

const Secret kOlderKey = {1, 2, 3};
const Secret kNewerKey = {4, 5, 6};

class ServerSessions : public testing::Test {
  public:
    void TearDown() override { Sessions::EndAll(); }

    static bool Refused(const char* serialNumber, const char* plugging)
    {
        try {
            Sessions::DeviceKey(serialNumber, plugging);
        } catch (const Failure& failure) {
            return failure.Why() == Cause::NotLoggedIn;
        }
        return false;
    }
};

TEST_F(ServerSessions, ACallerWhoSawTheKeyBeforeItWasPulledIsRefusedAndLeavesTheNewerLogin)
{
    Sessions::Begin("SN01", "older", kOlderKey);
    Sessions::Begin("SN01", "newer", kNewerKey);
    EXPECT_TRUE(Refused("SN01", "older"));
    ASSERT_TRUE(Sessions::Any()) << "the newer login was thrown away";
    EXPECT_EQ(kNewerKey, Sessions::DeviceKey("SN01", "newer"));
}

TEST_F(ServerSessions, OneOfAnOlderPluggingServesNobodyAndEndsWithTheNewsOfThePull)
{
    Sessions::Begin("SN01", "older", kOlderKey);
    EXPECT_TRUE(Refused("SN01", "newer"));
    EXPECT_TRUE(Refused("SN01", "")) << "of a key that says nothing of its plugging";
    Sessions::EndOther("SN01", "newer");
    EXPECT_FALSE(Sessions::Any());
    EXPECT_TRUE(Refused("SN01", "older"));
}

TEST_F(ServerSessions, OneOfAnOlderPluggingIsReplacedByTheNextLogin)
{
    Sessions::Begin("SN01", "older", kOlderKey);
    Sessions::Begin("SN01", "newer", kNewerKey);
    Sessions::EndOne("SN01", "newer");
    EXPECT_FALSE(Sessions::Any()) << "the older one was kept";
}

TEST_F(ServerSessions, ALoginThatCameTooLateEndsItselfAndNoOther)
{
    Sessions::Begin("SN01", "newer", kNewerKey);
    Sessions::Begin("SN02", "older", kOlderKey);
    Sessions::EndOne("SN01", "older");
    Sessions::EndOne("SN02", "older");
    EXPECT_EQ(kNewerKey, Sessions::DeviceKey("SN01", "newer"));
    EXPECT_TRUE(Refused("SN02", "older"));
}

}  // namespace
}  // namespace kzr::test
