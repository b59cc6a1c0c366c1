// The container table by its rules: parsing, the three questions to the device, every look-up.
#include "cache/UserTable.h"

#include <gtest/gtest.h>

#include "support/UserListOracle.h"

namespace kzr {
namespace {

using test::DeviceCall;

// Answers by rule: csp-SN, lib-SN, and the device type that the test sets.
class Devices : public DeviceInfo {
  public:
    std::wstring type = L"USB";
    std::map<std::wstring, std::wstring> typeOf;
    std::vector<DeviceCall> calls;

    std::wstring Query(std::wstring_view deviceSN, short infoType) override
    {
        const std::wstring sn(deviceSN);
        calls.push_back({sn, infoType});
        switch (infoType) {
            case 9:
                return L"csp-" + sn;
            case 8:
                return L"lib-" + sn;
            default:
                return typeOf.contains(sn) ? typeOf[sn] : type;
        }
    }
};

UserTable::Entries Rebuilt(std::wstring_view list, Devices& devices)
{
    UserTable table;
    table.Rebuild(list, &devices);
    return table.All();
}

UserTable::Entries Rebuilt(std::wstring_view list)
{
    Devices devices;
    return Rebuilt(list, devices);
}

// c1 and c2 share a CSP name, c3 has one of its own; the order of the list is not the order of the keys.
class Lookups : public testing::Test {
  protected:
    class Shared : public DeviceInfo {
      public:
        std::wstring Query(std::wstring_view deviceSN, short infoType) override
        {
            if (infoType == 9) return deviceSN == L"SN3" ? L"other csp" : L"shared csp";
            if (infoType == 8) return deviceSN == L"SN1" ? L"first lib" : L"shared lib";
            return L"";
        }
    };

    void SetUp() override
    {
        Shared source;
        table.Rebuild(L"Carol||c3/SN3&&&Bob||c2/SN2&&&Alice||c1/SN1&&&", &source);
        ASSERT_EQ(3u, table.All().size());
    }

    UserTable table;
};

TEST(UserTable, AWellFormedEntryKeepsItsThreePartsAndTheTwoDescriptions)
{
    const auto entries = Rebuilt(L"Alice||c1/SN01&&&");
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ(L"c1", entries.begin()->first);
    EXPECT_EQ((UserEntry{L"c1", L"SN01", L"csp-SN01", L"lib-SN01", L"Alice"}), entries.begin()->second);
}

TEST(UserTable, TwoEntriesGiveTwoContainers)
{
    const auto entries = Rebuilt(L"Alice||c1/SN01&&&Bob||c2/SN02&&&");
    ASSERT_EQ(2u, entries.size());
    EXPECT_EQ(L"SN01", entries.at(L"c1").DeviceSN);
    EXPECT_EQ(L"Alice", entries.at(L"c1").UserName);
    EXPECT_EQ(L"SN02", entries.at(L"c2").DeviceSN);
    EXPECT_EQ(L"Bob", entries.at(L"c2").UserName);
}

TEST(UserTable, TheDeviceIsAskedForItsCspNameThenItsLibraryThenItsType)
{
    Devices devices;
    Rebuilt(L"Alice||c1/SN01&&&Bob||c2/SN02&&&", devices);
    EXPECT_EQ((std::vector<DeviceCall>{
                  {L"SN01", 9}, {L"SN01", 8}, {L"SN01", 7}, {L"SN02", 9}, {L"SN02", 8}, {L"SN02", 7}}),
              devices.calls);
}

TEST(UserTable, SoftwareStoresStayOutInAnyLetterCase)
{
    for (const wchar_t* type : {L"SOFT", L"soft", L"Soft", L"sOfT"}) {
        Devices devices;
        devices.type = type;
        EXPECT_TRUE(Rebuilt(L"Alice||c1/SN01&&&", devices).empty()) << test::Narrowed(type);
        EXPECT_EQ(3u, devices.calls.size());
    }
}

TEST(UserTable, OnlyTheWholeWordSoftIsASoftwareStore)
{
    // The long s folds to "s" in Unicode, and the three units below differ from a letter by the case bit
    // only.
    for (const wchar_t* type : {L"", L"SOF", L"SOFTY", L" SOFT", L"HARD", L"\x017FOFT", L"3OFT", L"SOF\x14",
                                L"S/FT", L"SOF\x5414"}) {
        Devices devices;
        devices.type = type;
        EXPECT_EQ(1u, Rebuilt(L"Alice||c1/SN01&&&", devices).size()) << test::Narrowed(type);
    }
}

TEST(UserTable, ASoftwareStoreDoesNotKeepTheNextEntryOut)
{
    Devices devices;
    devices.typeOf[L"SN01"] = L"SOFT";
    const auto entries = Rebuilt(L"Alice||c1/SN01&&&Bob||c1/SN02&&&", devices);
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ(L"Bob", entries.at(L"c1").UserName);
}

TEST(UserTable, WithoutABackendEveryEntryIsDropped)
{
    UserTable table;
    Devices devices;
    table.Rebuild(L"Alice||c1/SN01&&&", &devices);
    ASSERT_EQ(1u, table.All().size());
    table.Rebuild(L"Bob||c2/SN02&&&", nullptr);
    EXPECT_TRUE(table.All().empty());
}

TEST(UserTable, ARebuildReplacesTheWholeContent)
{
    UserTable table;
    Devices devices;
    table.Rebuild(L"Alice||c1/SN01&&&Bob||c2/SN02&&&", &devices);
    table.Rebuild(L"Carol||c3/SN03&&&", &devices);
    ASSERT_EQ(1u, table.All().size());
    EXPECT_TRUE(table.All().contains(L"c3"));
}

TEST(UserTable, AnEmptyListEmptiesTheTableAndAsksNothing)
{
    UserTable table;
    Devices devices;
    table.Rebuild(L"Alice||c1/SN01&&&", &devices);
    devices.calls.clear();
    table.Rebuild(L"", &devices);
    EXPECT_TRUE(table.All().empty());
    EXPECT_TRUE(devices.calls.empty());
}

TEST(UserTable, WithoutASlashTheContainerIsEmptyAndTheSerialNumberIsTheRest)
{
    const auto entries = Rebuilt(L"Alice||c1SN01&&&");
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ((UserEntry{L"", L"c1SN01", L"csp-c1SN01", L"lib-c1SN01", L"Alice"}), entries.at(L""));
}

TEST(UserTable, WithoutTheFinalMarkTheSerialNumberIsEmptyAndTheWalkGoesOnTwoCharactersLater)
{
    Devices devices;
    const auto entries = Rebuilt(L"Alice||c1/SN01", devices);
    // c1/SN01, then /SN01 without its first character and two more, then "1" alone.
    ASSERT_EQ(2u, entries.size());
    EXPECT_EQ((UserEntry{L"c1", L"", L"csp-", L"lib-", L"Alice"}), entries.at(L"c1"));
    EXPECT_EQ((UserEntry{L"", L"", L"csp-", L"lib-", L""}), entries.at(L""));
    EXPECT_EQ(9u, devices.calls.size());
}

TEST(UserTable, WithoutTheUserMarkOneCharacterIsLostAndTheUserNameIsEmpty)
{
    const auto entries = Rebuilt(L"xc1/SN01&&&");
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ((UserEntry{L"c1", L"SN01", L"csp-SN01", L"lib-SN01", L""}), entries.at(L"c1"));
}

TEST(UserTable, AMarkInTheContainerNameMovesTheNextEntryButNotTheSerialNumber)
{
    Devices devices;
    const auto entries = Rebuilt(L"A||c&&&1/SN1&&&B||c2/SN2&&&", devices);
    EXPECT_EQ(6u, devices.calls.size());
    EXPECT_EQ(L"SN1", entries.at(L"c&&&1").DeviceSN);
    // The second pass begins behind the mark inside the name, so its user name swallows the rest of entry
    // one.
    ASSERT_TRUE(entries.contains(L"c2"));
    EXPECT_EQ(L"1/SN1&&&B", entries.at(L"c2").UserName);
    EXPECT_EQ(L"SN2", entries.at(L"c2").DeviceSN);
}

TEST(UserTable, TheFirstOfTwoEntriesWithOneContainerWinsAndBothAreAskedFor)
{
    Devices devices;
    const auto entries = Rebuilt(L"Alice||c1/SN01&&&Bob||c1/SN02&&&", devices);
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ(L"Alice", entries.at(L"c1").UserName);
    EXPECT_EQ(L"SN01", entries.at(L"c1").DeviceSN);
    EXPECT_EQ(6u, devices.calls.size());
}

TEST(UserTable, EmbeddedNullsArePartOfTheFields)
{
    const std::wstring list(L"A\0b||c\0001/S\0N&&&", 15);
    const auto entries = Rebuilt(list);
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ(std::wstring(L"c\0001", 3), entries.begin()->first);
    EXPECT_EQ(std::wstring(L"S\0N", 3), entries.begin()->second.DeviceSN);
    EXPECT_EQ(std::wstring(L"A\0b", 3), entries.begin()->second.UserName);
}

TEST(UserTable, KeysAreOrderedByCodeUnit)
{
    const auto entries = Rebuilt(L"||\x4E00/1&&&||b/2&&&||B/3&&&||\xFF21/4&&&||\x00E4/5&&&");
    std::vector<std::wstring> keys;
    for (const auto& [key, entry] : entries) {
        keys.push_back(key);
    }
    EXPECT_EQ((std::vector<std::wstring>{L"B", L"b", L"\x00E4", L"\x4E00", L"\xFF21"}), keys);
}

TEST(UserTable, AFailureOfTheSourceKeepsTheEntriesMadeBefore)
{
    const std::wstring list = L"A||c1/SN1&&&B||c2/SN2&&&C||c3/SN3&&&";
    for (std::size_t failing = 1; failing <= 9; ++failing) {
        test::RecordingDevices devices;
        devices.failAtCall = failing;
        UserTable table;
        EXPECT_THROW(table.Rebuild(list, &devices), std::runtime_error);
        EXPECT_EQ(failing, devices.calls.size());
        EXPECT_EQ((failing - 1) / 3, table.All().size());
        EXPECT_EQ(failing > 3 ? L"c1/SN1" : L"", table.UniqueIdByContainer(L"c1"));
        EXPECT_EQ(L"", table.UniqueIdByContainer(L"c3"));
        EXPECT_EQ(L"", table.UniqueIdByCspName(L"no such"));
        EXPECT_EQ(failing > 6, table.UserList() == L"A||c1&&&B||c2&&&");
        devices.failAtCall = 0;
        table.Rebuild(list, &devices);
        EXPECT_EQ(L"c3/SN3", table.UniqueIdByContainer(L"c3"));
    }
}

TEST(UserTable, ARebuildThatEntersDuringAQuestionLeavesTheTableWhole)
{
    class Reentrant : public Devices {
      public:
        UserTable* table = nullptr;
        std::wstring Query(std::wstring_view deviceSN, short infoType) override
        {
            if (deviceSN == L"SN2" && infoType == 7) {
                Devices inner;
                table->Rebuild(L"X||x1/SX&&&Y||c3/SY&&&", &inner);
            }
            return Devices::Query(deviceSN, infoType);
        }
    };
    UserTable table;
    Reentrant devices;
    devices.table = &table;
    table.Rebuild(L"A||c1/SN1&&&B||c2/SN2&&&C||c3/SN3&&&", &devices);
    // The inner rebuild removed c1; the outer one went on behind it, and the first c3 stayed.
    EXPECT_EQ(L"B||c2&&&Y||c3&&&X||x1&&&", table.UserList());
}

TEST_F(Lookups, AContainerIsFoundByItsBareName)
{
    EXPECT_EQ(L"SN1", table.DeviceSNByContainer(L"c1"));
    EXPECT_EQ(L"c1/SN1", table.UniqueIdByContainer(L"c1"));
    EXPECT_EQ(L"shared csp", table.CspNameByContainer(L"c1"));
    EXPECT_EQ(L"first lib", table.ExtLibNameByContainer(L"c1"));
}

TEST_F(Lookups, WhatFollowsTheFirstSlashOfAnIdentifierDoesNotCount)
{
    for (const wchar_t* identifier : {L"c2/", L"c2/SN2", L"c2/anything", L"c2/a/b", L"c2//"}) {
        EXPECT_EQ(L"SN2", table.DeviceSNByContainer(identifier));
        EXPECT_EQ(L"c2/SN2", table.UniqueIdByContainer(identifier));
        EXPECT_EQ(L"shared csp", table.CspNameByContainer(identifier));
        EXPECT_EQ(L"shared lib", table.ExtLibNameByContainer(identifier));
    }
}

TEST_F(Lookups, AnUnknownContainerGivesTheEmptyText)
{
    for (const wchar_t* identifier : {L"c9", L"", L"C1", L"/c1", L"/", L"c", L"c11"}) {
        EXPECT_EQ(L"", table.DeviceSNByContainer(identifier));
        EXPECT_EQ(L"", table.UniqueIdByContainer(identifier));
        EXPECT_EQ(L"", table.CspNameByContainer(identifier));
        EXPECT_EQ(L"", table.ExtLibNameByContainer(identifier));
    }
}

TEST(UserTable, AnIdentifierThatBeginsWithASlashIsAKeyAsItStands)
{
    // No list yields such a key; the look-up must still not take the empty key for it.
    UserTable table;
    Devices devices;
    table.Rebuild(L"Alice||/SN01&&&", &devices);
    EXPECT_EQ(L"SN01", table.DeviceSNByContainer(L""));
    EXPECT_EQ(L"/SN01", table.UniqueIdByContainer(L""));
    EXPECT_EQ(L"", table.DeviceSNByContainer(L"/SN01"));
    EXPECT_EQ(L"", table.UniqueIdByContainer(L"/"));
}

TEST_F(Lookups, AScanStopsAtTheFirstEntryInKeyOrder)
{
    EXPECT_EQ(L"c1/SN1", table.UniqueIdByCspName(L"shared csp"));
    EXPECT_EQ(L"c3/SN3", table.UniqueIdByCspName(L"other csp"));
    EXPECT_EQ(L"c1/SN1", table.UniqueIdByExtLibName(L"first lib"));
    EXPECT_EQ(L"c2/SN2", table.UniqueIdByExtLibName(L"shared lib"));
    EXPECT_EQ(L"SN1", table.DeviceSNByExtLibName(L"first lib"));
    EXPECT_EQ(L"SN2", table.DeviceSNByExtLibName(L"shared lib"));
}

TEST_F(Lookups, AScanComparesWholeTextsAndLetterCase)
{
    for (const wchar_t* name : {L"", L"shared", L"Shared csp", L"shared csp ", L"SHARED LIB", L"first li"}) {
        EXPECT_EQ(L"", table.UniqueIdByCspName(name));
        EXPECT_EQ(L"", table.UniqueIdByExtLibName(name));
        EXPECT_EQ(L"", table.DeviceSNByExtLibName(name));
        EXPECT_EQ(L"", table.ContainersByCspName(name));
    }
}

TEST_F(Lookups, TheContainersOfACspNameComeInKeyOrderEachWithItsMark)
{
    EXPECT_EQ(L"c1&&&c2&&&", table.ContainersByCspName(L"shared csp"));
    EXPECT_EQ(L"c3&&&", table.ContainersByCspName(L"other csp"));
}

TEST_F(Lookups, TheUserListComesInKeyOrderWithoutSerialNumbers)
{
    EXPECT_EQ(L"Alice||c1&&&Bob||c2&&&Carol||c3&&&", table.UserList());
}

TEST(UserTable, AnEmptyTableAnswersEveryLookUpWithTheEmptyText)
{
    const UserTable table;
    EXPECT_EQ(L"", table.DeviceSNByContainer(L"c1"));
    EXPECT_EQ(L"", table.UniqueIdByContainer(L"c1"));
    EXPECT_EQ(L"", table.CspNameByContainer(L"c1"));
    EXPECT_EQ(L"", table.ExtLibNameByContainer(L"c1"));
    EXPECT_EQ(L"", table.UniqueIdByCspName(L""));
    EXPECT_EQ(L"", table.UniqueIdByExtLibName(L""));
    EXPECT_EQ(L"", table.DeviceSNByExtLibName(L""));
    EXPECT_EQ(L"", table.ContainersByCspName(L""));
    EXPECT_EQ(L"", table.UserList());
}

TEST(UserTable, AnEmptyDescriptionIsFoundByTheEmptyName)
{
    class Silent : public DeviceInfo {
      public:
        std::wstring Query(std::wstring_view, short) override { return {}; }
    };
    UserTable table;
    Silent source;
    table.Rebuild(L"Alice||c1/SN01&&&Bob||c2/SN02&&&", &source);
    EXPECT_EQ(L"c1/SN01", table.UniqueIdByCspName(L""));
    EXPECT_EQ(L"c1/SN01", table.UniqueIdByExtLibName(L""));
    EXPECT_EQ(L"c1&&&c2&&&", table.ContainersByCspName(L""));
}

}  // namespace
}  // namespace kzr
