// PINs: counters that are spent before the PIN is looked at, changes that rewrite one file.
#include "com/Handles.h"
#include "softkey/store/StoreTest.h"
#include "store/Wrap.h"

namespace kzr::softkey::test {
namespace {

PinAnswer Try(const Device& device, const char* pin)
{
    Secret deviceKey;
    const PinAnswer answer = device.Login(pin, deviceKey);
    EXPECT_EQ(deviceKey.empty(), answer.result != PinResult::Right);
    return answer;
}

void ExpectAnswer(const PinAnswer& answer, PinResult result, int triesLeft)
{
    EXPECT_EQ(answer.result, result);
    EXPECT_EQ(answer.triesLeft, triesLeft);
}

TEST_F(StoreTest, TheRightPinOpensTheSameDeviceKeyEveryTime)
{
    const Device device = MakeKey(m_store);
    const Secret first = LogIn(device);
    EXPECT_EQ(first.size(), kWrapKeySize);
    EXPECT_EQ(LogIn(*m_store.Find("SN01")), first);
}

TEST_F(StoreTest, TwoKeysHaveDifferentDeviceKeys)
{
    EXPECT_NE(LogIn(MakeKey(m_store)), LogIn(MakeKey(m_store, "SN02", {})));
}

TEST_F(StoreTest, AWrongPinCostsATryAndTheRightOneRestoresThem)
{
    const Device device = MakeKey(m_store, "SN01", {}, 3);
    ExpectAnswer(Try(device, kWrongPin), PinResult::Wrong, 2);
    EXPECT_EQ(device.TriesLeft(), 2);
    ExpectAnswer(Try(device, ""), PinResult::Wrong, 1);
    ExpectAnswer(Try(device, kPin), PinResult::Right, 3);
    EXPECT_EQ(Store(m_store.Root()).Find("SN01")->TriesLeft(), 3);
}

TEST_F(StoreTest, AfterTheLastTryTheRightPinIsRefusedToo)
{
    const Device device = MakeKey(m_store, "SN01", {}, 2);
    ExpectAnswer(Try(device, kWrongPin), PinResult::Wrong, 1);
    ExpectAnswer(Try(device, kWrongPin), PinResult::Wrong, 0);
    const std::string before = Read("keys\\SN01\\pin.json");
    ExpectAnswer(Try(device, kPin), PinResult::Locked, 0);
    ExpectAnswer(device.ChangePin(kPin, "654321"), PinResult::Locked, 0);
    EXPECT_EQ(Read("keys\\SN01\\pin.json"), before);
    m_store.Unplug("SN01");
    m_store.Plug("SN01");
    ExpectAnswer(Try(device, kPin), PinResult::Locked, 0);
}

TEST_F(StoreTest, AnUnwritableRecordGivesNoTryAway)
{
    const Device device = MakeKey(m_store);
    Secret deviceKey;
    {
        // Readable for everybody, but not to be replaced.
        const UniqueFile held(CreateFileW((m_folder / L"store\\keys\\SN01\\pin.json").c_str(), GENERIC_READ,
                                          FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(held);
        EXPECT_EQ(CauseOf([&] { device.Login(kPin, deviceKey); }), Cause::File);
        EXPECT_TRUE(deviceKey.empty());
    }
    LogIn(device);
}

TEST_F(StoreTest, AChangedPinReplacesTheOldOneAndKeepsEveryPrivateKey)
{
    const Device device = MakeKey(m_store);
    const Secret before = LogIn(device);
    const std::string container = Read("keys\\SN01\\containers\\-c1.json");
    Try(device, kWrongPin);
    ExpectAnswer(device.ChangePin(kPin, "new \xE5\xBC\xA0"), PinResult::Right, 10);
    ExpectAnswer(Try(device, kPin), PinResult::Wrong, 9);
    EXPECT_EQ(LogIn(device, "new \xE5\xBC\xA0"), before);
    EXPECT_EQ(Read("keys\\SN01\\containers\\-c1.json"), container);
    EXPECT_TRUE(device.PrivateKey(before, "c1", Pair::Signing));
}

TEST_F(StoreTest, AChangeByAWrongPinCostsATryAndChangesNothing)
{
    const Device device = MakeKey(m_store);
    ExpectAnswer(device.ChangePin(kWrongPin, "654321"), PinResult::Wrong, 9);
    ExpectAnswer(Try(device, "654321"), PinResult::Wrong, 8);
    LogIn(device);
}

TEST_F(StoreTest, ANewPinThatCanBeNoneCostsNoTry)
{
    const Device device = MakeKey(m_store);
    for (const std::string& bad :
         {std::string("123"), std::string(33, 'x'), std::string("12\n456"), std::string("12345\xFF")}) {
        EXPECT_EQ(CauseOf([&] { device.ChangePin(kPin, bad); }), Cause::BadArgument);
        EXPECT_EQ(CauseOf([&] { device.ChangeAdminPin(kAdminPin, bad); }), Cause::BadArgument);
        EXPECT_EQ(CauseOf([&] { device.Unblock(kAdminPin, bad); }), Cause::BadArgument);
        DeviceDescription description;
        description.serialNumber = "SN02";
        EXPECT_EQ(CauseOf([&] {
                      m_store.Create(description, {bad, kAdminPin, 10}, {});
                  }),
                  Cause::BadArgument);
        EXPECT_EQ(CauseOf([&] { m_store.Create(description, {kPin, bad, 10}, {}); }), Cause::BadArgument);
    }
    EXPECT_EQ(device.TriesLeft(), 10);
    EXPECT_EQ(device.AdminTriesLeft(), 10);
}

TEST_F(StoreTest, NumbersOfTriesThatCannotBeAreRefused)
{
    for (const int tries : {0, -1, 101})
        EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "SN01", {}, tries); }), Cause::BadArgument) << tries;
}

TEST_F(StoreTest, TheAdministratorUnblocksALockedPin)
{
    const Device device = MakeKey(m_store, "SN01", {ContainerOf("c1")}, 1);
    Try(device, kWrongPin);
    ExpectAnswer(Try(device, kPin), PinResult::Locked, 0);
    ExpectAnswer(device.Unblock(kAdminPin, "654321"), PinResult::Right, 1);
    const Secret deviceKey = LogIn(device, "654321");
    EXPECT_TRUE(device.PrivateKey(deviceKey, "c1", Pair::Exchange));
}

TEST_F(StoreTest, TheAdministratorsPinHasACounterOfItsOwn)
{
    const Device device = MakeKey(m_store, "SN01", {}, 2);
    ExpectAnswer(device.Unblock(kPin, "654321"), PinResult::Wrong, 1);
    EXPECT_EQ(device.TriesLeft(), 2);
    EXPECT_EQ(device.AdminTriesLeft(), 1);
    ExpectAnswer(device.Unblock(kPin, "654321"), PinResult::Wrong, 0);
    ExpectAnswer(device.Unblock(kAdminPin, "654321"), PinResult::Locked, 0);
    LogIn(device);
}

TEST_F(StoreTest, TheAdministratorsPinIsChangedAndOpensTheSameKey)
{
    const Device device = MakeKey(m_store);
    ExpectAnswer(device.ChangeAdminPin(kAdminPin, "11223344"), PinResult::Right, 10);
    Secret deviceKey;
    ExpectAnswer(device.LoginAsAdmin(kAdminPin, deviceKey), PinResult::Wrong, 9);
    ExpectAnswer(device.LoginAsAdmin("11223344", deviceKey), PinResult::Right, 10);
    EXPECT_EQ(deviceKey, LogIn(device));
}

TEST_F(StoreTest, NoPinAndNoKeyStandsInTheFiles)
{
    const NewContainer container = ContainerOf("c1");
    const Device device = MakeKey(m_store, "SN01", {container});
    const Secret deviceKey = LogIn(device);
    for (const char* name :
         {"keys\\SN01\\pin.json", "keys\\SN01\\key.json", "keys\\SN01\\containers\\-c1.json"}) {
        const std::string content = Read(name);
        for (const std::string& secret : {std::string(kPin), std::string(kAdminPin), StringOf(deviceKey),
                                          StringOf(container.signingKey).substr(40, 24)})
            EXPECT_EQ(content.find(secret), std::string::npos) << name;
    }
}

TEST(Wrapping, WhatWasWrappedOpensWithItsKeyAndItsPurposeOnly)
{
    const Secret key(kWrapKeySize, 7), other(kWrapKeySize, 8);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1000}}) {
        const Bytes content = Noise(size);
        const Bytes wrapped = Wrap(key, "purpose", content);
        EXPECT_NE(Wrap(key, "purpose", content), wrapped);
        Secret opened(5, 5);
        ASSERT_TRUE(Unwrap(key, "purpose", wrapped, opened));
        EXPECT_EQ(StringOf(opened), StringOf(content));
        EXPECT_FALSE(Unwrap(other, "purpose", wrapped, opened));
        EXPECT_FALSE(Unwrap(key, "purposes", wrapped, opened));
        for (const std::size_t at : {std::size_t{0}, wrapped.size() / 2, wrapped.size() - 1})
            EXPECT_FALSE(Unwrap(key, "purpose", Changed(wrapped, at), opened)) << at;
        EXPECT_FALSE(Unwrap(key, "purpose", Cut(wrapped, wrapped.size() - 1), opened));
        EXPECT_FALSE(Unwrap(key, "purpose", {}, opened));
        EXPECT_EQ(StringOf(opened), StringOf(content));
    }
    EXPECT_EQ(CauseOf([&] { Wrap(Secret(5), "purpose", {}); }), Cause::NotLoggedIn);
}

// RFC 7914, section 11.
TEST(Wrapping, PinsAreStretchedAsPublished)
{
    const Secret key = StretchPin("passwd", ViewOf("salt"), 1);
    EXPECT_EQ(StringOf(key),
              StringOf(Unhex("55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc")));
}

}  // namespace
}  // namespace kzr::softkey::test
