// Keys in the store: made, found, plugged, pulled, described, removed.
#include <set>

#include "base/Wide.h"
#include "softkey/core/TestAuthorities.h"
#include "softkey/store/StoreTest.h"
#include "store/Folder.h"

namespace kzr::softkey::test {
namespace {

using Names = std::vector<std::string>;

TEST_F(StoreTest, ANewStoreIsEmpty)
{
    EXPECT_TRUE(m_store.Plugged().empty());
    EXPECT_TRUE(m_store.Parked().empty());
    EXPECT_FALSE(m_store.Find("SN01"));
    EXPECT_FALSE(m_store.FindByContainer("c1"));
}

TEST_F(StoreTest, AnotherStoreOnTheSameFolderSeesWhatWasMade)
{
    const DeviceDescription description{"SN-01_a", "TYPE", "Library A", "CSP \xE5\xBC\xA0"};
    m_store.Create(
        description, {kPin, kAdminPin, 10},
        {ContainerOf("c1", "\xE5\xBC\xA0\xE4\xB8\x89"), ContainerOf("c2", "Bob", KeyType::Rsa, false)});
    const Store other(m_store.Root());
    const auto device = other.Find("SN-01_a");
    ASSERT_TRUE(device);
    EXPECT_EQ(device->Description().type, "TYPE");
    EXPECT_EQ(device->Description().extensionLibrary, "Library A");
    EXPECT_EQ(device->Description().provider, "CSP \xE5\xBC\xA0");
    const auto containers = device->Containers();
    ASSERT_EQ(containers.size(), 2u);
    EXPECT_EQ(containers[0].user, "\xE5\xBC\xA0\xE4\xB8\x89");
    EXPECT_EQ(containers[0].type, KeyType::Sm2);
    ASSERT_TRUE(containers[0].exchange);
    EXPECT_NE(containers[0].exchange->Der(), containers[0].signing.Der());
    EXPECT_EQ(containers[1].type, KeyType::Rsa);
    EXPECT_FALSE(containers[1].exchange);
    EXPECT_EQ(SerialNumbers(other.Plugged()), Names{"SN-01_a"});
}

TEST_F(StoreTest, AFreshStoreFolderIsMadeWithThoseAboveIt)
{
    Store deep(ToUtf8(m_folder / L"a\\b\\\x5F20\\"));
    MakeKey(deep);
    EXPECT_EQ(SerialNumbers(Store(ToUtf8(m_folder / L"a\\b\\\x5F20")).Plugged()), Names{"SN01"});
}

TEST_F(StoreTest, ARelativeFolderIsTheSameAfterTheCurrentOneChanged)
{
    wchar_t before[1024] = {};
    GetCurrentDirectoryW(1024, before);
    SetCurrentDirectoryW(m_folder.Path().c_str());
    Store relative("relative");
    SetCurrentDirectoryW(before);
    MakeKey(relative);
    EXPECT_TRUE(Store(ToUtf8(m_folder / L"relative")).Find("SN01"));
}

TEST_F(StoreTest, AFolderFarBeyondThePlatformsOldLimitHoldsKeys)
{
    Store deep(m_store.Root() + "\\" + std::string(100, 'a') + "\\" + std::string(100, 'b') + "\\" +
               std::string(100, 'c'));
    const Device device = MakeKey(deep);
    device.WriteData("file", BytesOf("data"));
    EXPECT_EQ(device.ReadData("file"), BytesOf("data"));
    deep.Unplug("SN01");
    EXPECT_TRUE(deep.FindParked("SN01"));
    deep.Delete("SN01");
    EXPECT_FALSE(deep.FindParked("SN01"));
    RemoveFolder(m_store.Root() + "\\" + std::string(100, 'a'));
}

TEST_F(StoreTest, TheStoreLiesWhereTheEnvironmentSays)
{
    SetEnvironmentVariableW(L"KZR_SOFTKEY_HOME", L"C:\\some\\\x5F20");
    EXPECT_EQ(Store::DefaultRoot(), "C:\\some\\\xE5\xBC\xA0");
    SetEnvironmentVariableW(L"KZR_SOFTKEY_HOME", nullptr);
    EXPECT_TRUE(Store::DefaultRoot().ends_with("\\KzrSoftKey"));
}

TEST_F(StoreTest, SerialNumbersThatCannotBeAreRefused)
{
    for (const std::string& bad :
         {std::string(), std::string(65, 'a'), std::string("a b"), std::string("a/b"), std::string("a\\b"),
          std::string(".."), std::string("a."), std::string("a\0b", 3), std::string("\xE5\xBC\xA0"),
          std::string("con"), std::string("Com1"), std::string("LPT9"), std::string("a;b")}) {
        EXPECT_EQ(CauseOf([&] { MakeKey(m_store, bad); }), Cause::BadArgument) << bad;
        EXPECT_FALSE(m_store.Find(bad)) << bad;
        EXPECT_EQ(CauseOf([&] { m_store.Plug(bad); }), Cause::UnknownKey) << bad;
        EXPECT_EQ(CauseOf([&] { m_store.Unplug(bad); }), Cause::UnknownKey) << bad;
        EXPECT_EQ(CauseOf([&] { m_store.Delete(bad); }), Cause::UnknownKey) << bad;
    }
    EXPECT_TRUE(FoldersIn(PathOf("keys")).empty());
    EXPECT_TRUE(Leftovers().empty());
}

TEST_F(StoreTest, TheLongestSerialNumberIsTaken)
{
    MakeKey(m_store, std::string(64, 'Z'));
    EXPECT_TRUE(m_store.Find(std::string(64, 'Z')));
}

TEST_F(StoreTest, ATakenSerialNumberIsRefusedPluggedAndParked)
{
    MakeKey(m_store);
    const std::string before = Read("keys\\SN01\\pin.json");
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "SN01", {}); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "sn01", {}); }), Cause::BadArgument);
    EXPECT_EQ(Read("keys\\SN01\\pin.json"), before);
    m_store.Unplug("SN01");
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "SN01", {}); }), Cause::BadArgument);
    EXPECT_EQ(Read("parked\\SN01\\pin.json"), before);
    EXPECT_TRUE(Leftovers().empty());
}

TEST_F(StoreTest, LetterCasesOfASerialNumberCount)
{
    MakeKey(m_store, "Key");
    EXPECT_TRUE(m_store.Find("Key"));
    EXPECT_FALSE(m_store.Find("KEY"));
    EXPECT_EQ(CauseOf([&] { m_store.Unplug("KEY"); }), Cause::UnknownKey);
    EXPECT_EQ(CauseOf([&] { m_store.Delete("key"); }), Cause::UnknownKey);
}

TEST_F(StoreTest, AContainerThatAnyKeyHasIsRefused)
{
    MakeKey(m_store);
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "SN02"); }), Cause::BadArgument);
    m_store.Unplug("SN01");
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "SN02"); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] {
                  MakeKey(m_store, "SN02", {ContainerOf("x"), ContainerOf("x")});
              }),
              Cause::BadArgument);
    EXPECT_FALSE(m_store.Find("SN02"));
    MakeKey(m_store, "SN02", {ContainerOf("C1")});
    EXPECT_TRUE(m_store.FindByContainer("C1"));
    EXPECT_FALSE(m_store.FindByContainer("c1"));
}

TEST_F(StoreTest, AFindByContainerLooksAtThePluggedKeysOnly)
{
    MakeKey(m_store, "SN01", {ContainerOf("c1"), ContainerOf("c2")});
    MakeKey(m_store, "SN02", {ContainerOf("c3")});
    ASSERT_TRUE(m_store.FindByContainer("c2"));
    EXPECT_EQ(m_store.FindByContainer("c2")->Description().serialNumber, "SN01");
    EXPECT_EQ(m_store.FindByContainer("c3")->Description().serialNumber, "SN02");
    m_store.Unplug("SN01");
    EXPECT_FALSE(m_store.FindByContainer("c2"));
    EXPECT_FALSE(m_store.FindByContainer(""));
    EXPECT_FALSE(m_store.FindByContainer("..\\SN02"));
}

TEST_F(StoreTest, APulledKeyComesBackAsItWas)
{
    MakeKey(m_store);
    const Device device = *m_store.Find("SN01");
    m_store.Unplug("SN01");
    EXPECT_FALSE(m_store.Find("SN01"));
    EXPECT_EQ(SerialNumbers(m_store.Parked()), Names{"SN01"});
    m_store.Unplug("SN01");
    m_store.Plug("SN01");
    EXPECT_EQ(SerialNumbers(m_store.Plugged()), Names{"SN01"});
    EXPECT_TRUE(m_store.Parked().empty());
    m_store.Plug("SN01");
    EXPECT_EQ(ContainerNames(device), Names{"c1"});
    LogIn(device);
}

TEST_F(StoreTest, EachPluggingIsAnotherOne)
{
    const Device device = MakeKey(m_store);
    std::set<std::string> seen{device.Plugging()};
    for (int i = 0; i < 5; ++i) {
        m_store.Unplug("SN01");
        EXPECT_EQ(device.Plugging(), "");
        m_store.Plug("SN01");
        EXPECT_TRUE(seen.insert(device.Plugging()).second);
        // One that changes nothing is none.
        m_store.Plug("SN01");
        EXPECT_TRUE(seen.contains(device.Plugging()));
    }
    EXPECT_TRUE(Leftovers().empty());
}

TEST_F(StoreTest, AKeyInAnothersPlaceIsNotInItsPlugging)
{
    const std::string first = MakeKey(m_store).Plugging();
    EXPECT_FALSE(first.empty());
    m_store.Delete("SN01");
    const std::string second = MakeKey(m_store).Plugging();
    EXPECT_FALSE(second.empty());
    EXPECT_NE(first, second);
}

TEST_F(StoreTest, EverythingOnAPulledKeySaysThatItIsNotThere)
{
    const Device device = MakeKey(m_store);
    const Secret deviceKey = LogIn(device);
    m_store.Unplug("SN01");
    Secret other;
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"Containers", [&] { device.Containers(); }},
        {"Login", [&] { device.Login(kPin, other); }},
        {"ChangePin", [&] { device.ChangePin(kPin, "654321"); }},
        {"TriesLeft", [&] { device.TriesLeft(); }},
        {"Unblock", [&] { device.Unblock(kAdminPin, "654321"); }},
        {"PrivateKey", [&] { device.PrivateKey(deviceKey, "c1", Pair::Signing); }},
        {"AddContainer", [&] { device.AddContainer(deviceKey, ContainerOf("c2")); }},
        {"RemoveContainer", [&] { device.RemoveContainer("c1"); }},
        {"ReadData", [&] { device.ReadData("f"); }},
        {"WriteData", [&] { device.WriteData("f", BytesOf("x")); }},
        {"RemoveData", [&] { device.RemoveData("f"); }},
        {"DataNames", [&] { device.DataNames(); }},
    };
    for (const auto& [name, action] : rows) EXPECT_EQ(CauseOf(action), Cause::UnknownKey) << name;
    EXPECT_FALSE(Exists("keys\\SN01"));
    LogIn(*m_store.FindParked("SN01"));
}

TEST_F(StoreTest, AKeyThatLiesPluggedAndParkedIsNotMovedOverItself)
{
    MakeKey(m_store);
    m_store.Unplug("SN01");
    const Device second = MakeKey(m_store, "SN02", {ContainerOf("c2")});
    MoveFolder(PathOf("keys\\SN02"), PathOf("keys\\SN01"));
    EXPECT_EQ(CauseOf([&] { RemoveFile(PathOf("keys\\SN01\\key.json")), m_store.Plug("SN01"); }),
              Cause::BadArgument);
    EXPECT_TRUE(Exists("keys\\SN01\\pin.json"));
    EXPECT_TRUE(m_store.FindParked("SN01"));
}

TEST_F(StoreTest, ADeletedKeyLeavesNothingBehind)
{
    const Device device = MakeKey(m_store);
    device.WriteData("file", BytesOf("data"));
    MakeKey(m_store, "SN02", {ContainerOf("c2")});
    m_store.Unplug("SN02");
    m_store.Delete("SN01");
    m_store.Delete("SN02");
    EXPECT_FALSE(Exists("keys\\SN01"));
    EXPECT_FALSE(Exists("parked\\SN02"));
    EXPECT_TRUE(Leftovers().empty());
    EXPECT_EQ(FilesIn(PathOf("locks")), Names{});
    EXPECT_EQ(CauseOf([&] { m_store.Delete("SN01"); }), Cause::UnknownKey);
    // Whoever still has it asks for its lock.
    EXPECT_EQ(CauseOf([&] { device.TriesLeft(); }), Cause::UnknownKey);
    EXPECT_EQ(FilesIn(PathOf("locks")), Names{});
    MakeKey(m_store);
    EXPECT_FALSE(m_store.Find("SN01")->ReadData("file"));
}

TEST_F(StoreTest, ADescriptionIsChangedAndTheKeyStaysAsItIs)
{
    MakeKey(m_store);
    m_store.Describe({"SN01", "T2", "L2", "P2"});
    const auto device = m_store.Find("SN01");
    ASSERT_TRUE(device);
    EXPECT_EQ(
        device->Description().type + device->Description().extensionLibrary + device->Description().provider,
        "T2L2P2");
    LogIn(*device);
    m_store.Unplug("SN01");
    m_store.Describe({"SN01", "T3", "L3", "P3"});
    EXPECT_EQ(m_store.FindParked("SN01")->Description().type, "T3");
    EXPECT_EQ(CauseOf([&] { m_store.Describe({"SN02", "T", "L", "P"}); }), Cause::UnknownKey);
}

TEST_F(StoreTest, DescriptionsThatCannotBeAreRefused)
{
    for (const std::string& bad : {std::string(), std::string(129, 'x'), std::string("a\nb"),
                                   std::string("\xFF"), std::string("a\0b", 3)}) {
        EXPECT_EQ(CauseOf([&] {
                      m_store.Create({"SN01", bad, "L", "P"}, {kPin, kAdminPin, 10}, {});
                  }),
                  Cause::BadArgument);
        EXPECT_EQ(CauseOf([&] {
                      m_store.Create({"SN01", "T", bad, "P"}, {kPin, kAdminPin, 10}, {});
                  }),
                  Cause::BadArgument);
        EXPECT_EQ(CauseOf([&] {
                      m_store.Create({"SN01", "T", "L", bad}, {kPin, kAdminPin, 10}, {});
                  }),
                  Cause::BadArgument);
    }
    EXPECT_TRUE(m_store.Plugged().empty());
}

TEST_F(StoreTest, TextsOfTheGreatestLengthAreTakenAndLongerOnesAreNot)
{
    const std::string longest(128, 'x'), longer(129, 'x');
    m_store.Create({"SN01", longest, longest, longest}, {kPin, kAdminPin, 10},
                   {ContainerOf(std::string(64, 'c'), longest)});
    const auto device = Store(m_store.Root()).Find("SN01");
    ASSERT_TRUE(device);
    EXPECT_EQ(device->Description().provider, longest);
    EXPECT_EQ(device->Containers().at(0).user, longest);
    EXPECT_EQ(CauseOf([&] { m_store.Describe({"SN01", "T", "L", longer}); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "SN02", {ContainerOf("c2", longer)}); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "SN02", {ContainerOf(std::string(65, 'c'))}); }),
              Cause::BadArgument);
    EXPECT_EQ(SerialNumbers(m_store.Plugged()), Names{"SN01"});
}

TEST_F(StoreTest, TrustTakesCertificatesAndListsAndNamesWhatItCannotRead)
{
    const Family& family = FamilyOf(KeyType::Sm2);
    Write("trust\\root.PEM", family.root.Pem());
    Write("trust\\between.der", StringOf(family.between.Der()));
    Write("trust\\bad.cer", "no certificate");
    Write("trust\\notes.txt", "neither");
    std::vector<std::string> skipped;
    EXPECT_EQ(m_store.Trust(&skipped).Check(family.user, std::time(nullptr)), Validity::Valid);
    ASSERT_EQ(skipped.size(), 1u);
    EXPECT_NE(skipped[0].find("bad.cer"), std::string::npos);

    Write("trust\\list.crl",
          StringOf(MakeRevocationList(family.Between(), {CertificateField(family.user, 2)}, 30)));
    EXPECT_EQ(m_store.Trust().Check(family.user, std::time(nullptr)), Validity::Revoked);
}

}  // namespace
}  // namespace kzr::softkey::test
