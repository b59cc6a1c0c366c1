// Files that somebody changed: every operation answers a failure or carries on without the broken part.
#include <random>

#include "base/Base64.h"
#include "base/File.h"
#include "softkey/store/StoreTest.h"
#include "store/Folder.h"
#include "support/Rounds.h"

namespace kzr::softkey::test {
namespace {

constexpr char kDescription[] = "keys\\SN01\\key.json";
constexpr char kPins[] = "keys\\SN01\\pin.json";
constexpr char kContainer[] = "keys\\SN01\\containers\\-c1.json";
constexpr char kData[] = "keys\\SN01\\data\\-f.data";

std::string With(std::string text, const std::string& from, const std::string& to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// What no record can be, whatever it is about.
std::vector<std::string> Garbage()
{
    return {"",
            "{}",
            "[]",
            "null",
            "7",
            "{\"format\":",
            "{\"format\": 2}",
            "{\"format\": \"1\"}",
            "{\"format\": 1}",
            "{\"format\": 1e400}",
            std::string("\0\0\0", 3),
            "\xFF\xFE{",
            std::string(100000, '['),
            "{\"format\": 1, \"a\": " + std::string(50000, '[')};
}

class Hostile : public StoreTest {
  protected:
    Hostile()
    {
        m_device.WriteData("f", BytesOf("data"));
        MakeKey(m_store, "SN02", {ContainerOf("c2")});
    }

    // Everything that reads the key's files; only failures may come out. A pair whose name in the container's
    // file was changed is one that the container lacks.
    void UseAll() const
    {
        Secret deviceKey = m_deviceKey;
        const std::function<void()> uses[] = {
            [&] { m_store.Plugged(); },
            [&] { m_store.Find("SN01"); },
            [&] { m_store.FindByContainer("c1"); },
            [&] { m_device.Containers(); },
            [&] { m_device.TriesLeft(); },
            [&] { m_device.PrivateKey(deviceKey, "c1", Pair::Signing); },
            [&] { m_device.PrivateKey(deviceKey, "c1", Pair::Exchange); },
            [&] { m_device.ReadData("f"); },
            [&] { m_device.DataNames(); },
        };
        for (const auto& use : uses) {
            const auto cause = CauseOf(use);
            EXPECT_TRUE(!cause || *cause == Cause::BadData || *cause == Cause::File ||
                        *cause == Cause::Unsupported || *cause == Cause::UnknownContainer)
                << "cause " << static_cast<int>(*cause);
        }
    }

    const Device m_device = MakeKey(m_store);
    const Secret m_deviceKey = LogIn(m_device);
};

TEST_F(Hostile, ABrokenDescriptionHidesItsKeyOnlyAndIsNamed)
{
    for (const std::string& garbage : Garbage()) {
        Write(kDescription, garbage);
        std::vector<std::string> unreadable;
        EXPECT_EQ(SerialNumbers(m_store.Plugged(&unreadable)), std::vector<std::string>{"SN02"});
        ASSERT_EQ(unreadable.size(), 1u);
        EXPECT_NE(unreadable[0].find("SN01"), std::string::npos);
        // What is larger than a description can be is not even read.
        const auto cause = CauseOf([&] { m_store.Find("SN01"); });
        EXPECT_EQ(cause, garbage.size() > 65536 ? Cause::File : Cause::BadData) << garbage.substr(0, 30);
    }
    m_store.Describe({"SN01", "T", "L", "P"});
    LogIn(*m_store.Find("SN01"));
}

TEST_F(Hostile, ABrokenPinRecordIsSaidAndNeverWrittenOver)
{
    const std::string good = Read(kPins);
    std::vector<std::string> rows = Garbage();
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"\"iterations\": 200000", "\"iterations\": 2000000000"},
             {"\"iterations\": 200000", "\"iterations\": 1"},
             {"\"iterations\": 200000", "\"iterations\": 200000.5"},
             {"\"iterations\": 200000", "\"iterations\": -1"},
             {"PBKDF2-SHA256", "none"},
             {"\"left\": 10", "\"left\": 11"},
             {"\"left\": 10", "\"left\": -1"},
             {"\"left\": 10", "\"left\": 18446744073709551615"},
             {"\"left\": 10", "\"left\": \"10\""},
             {"\"tries\": 10", "\"tries\": 0"},
             {"\"tries\": 10", "\"tries\": 1000000"},
             {"\"salt\": \"", "\"salt\": \"AAAA"},
             {"\"deviceKey\": \"", "\"deviceKey\": \"!"},
             {"\"deviceKey\": \"", "\"deviceKey\": \"\", \"x\": \""},
             {"\"user\"", "\"nobody\""},
             {"\"proof\"", "\"doubt\""}})
        rows.push_back(With(good, from, to));
    for (const std::string& row : rows) {
        Write(kPins, row);
        Secret deviceKey;
        const Cause expected = row.size() > 65536 ? Cause::File : Cause::BadData;
        EXPECT_EQ(CauseOf([&] { m_device.Login(kPin, deviceKey); }), expected) << row.substr(0, 200);
        EXPECT_EQ(CauseOf([&] { m_device.ChangePin(kPin, "654321"); }), expected);
        EXPECT_EQ(CauseOf([&] { m_device.Unblock(kAdminPin, "654321"); }), expected);
        EXPECT_EQ(CauseOf([&] { m_device.TriesLeft(); }), expected);
        EXPECT_EQ(Read(kPins), row);
    }
    Write(kPins, good);
    LogIn(m_device);
}

TEST_F(Hostile, ABrokenContainerHidesItselfOnlyAndIsNamed)
{
    m_device.AddContainer(m_deviceKey, ContainerOf("c3"));
    const std::string good = Read(kContainer);
    std::vector<std::string> rows = Garbage();
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"\"name\": \"c1\"", "\"name\": \"c3\""},
             {"\"name\": \"c1\"", "\"name\": \"../c1\""},
             {"\"user\": \"Alice\"", "\"user\": \"Alice||&&&\""},
             {"\"user\": \"Alice\"", "\"user\": {}"},
             {"\"type\": \"SM2\"", "\"type\": \"DSA\""},
             {"\"certificate\": \"", "\"certificate\": \"AAAA"},
             {"\"certificate\": \"", "\"certificate\": \"\", \"x\": \""},
             {"\"certificate\": \"", "\"certificate\": 5, \"x\": \""},
             {"\"key\": \"", "\"key\": \"*"}})
        rows.push_back(With(good, from, to));
    for (const std::string& row : rows) {
        Write(kContainer, row);
        std::vector<std::string> unreadable;
        const auto containers = m_device.Containers(&unreadable);
        ASSERT_EQ(containers.size(), 1u) << row.substr(0, 200);
        EXPECT_EQ(containers[0].name, "c3");
        EXPECT_EQ(unreadable.size(), 1u);
        EXPECT_EQ(CauseOf([&] { m_device.PrivateKey(m_deviceKey, "c1", Pair::Signing); }), Cause::BadData);
    }
}

TEST_F(Hostile, APrivateKeyFromAnotherPlaceDoesNotOpen)
{
    m_device.AddContainer(m_deviceKey, ContainerOf("c3"));
    const std::string other = Read("keys\\SN01\\containers\\-c3.json");
    Write(kContainer, With(other, "\"name\": \"c3\"", "\"name\": \"c1\""));
    EXPECT_EQ(CauseOf([&] { m_device.PrivateKey(m_deviceKey, "c1", Pair::Signing); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { m_device.PrivateKey(m_deviceKey, "c1", Pair::Exchange); }), Cause::BadData);
    EXPECT_TRUE(m_device.PrivateKey(m_deviceKey, "c3", Pair::Signing));
}

TEST_F(Hostile, APinRecordOfAnotherKeyOpensNoneOfThisKeysSecrets)
{
    Write(kPins, Read("keys\\SN02\\pin.json"));
    const Secret foreign = LogIn(m_device);
    EXPECT_EQ(CauseOf([&] { m_device.PrivateKey(foreign, "c1", Pair::Signing); }), Cause::BadData);
}

TEST_F(Hostile, ABrokenDataFileIsSaid)
{
    const std::string good = Read(kData);
    for (const std::string& row :
         {std::string(), std::string("KKF1"), std::string("KKF2") + good.substr(4),
          std::string("KKF1\xFF\xFF x"), With(good, "f", "g"), std::string("KKF1\x01", 5)}) {
        Write(kData, row);
        EXPECT_EQ(CauseOf([&] { m_device.ReadData("f"); }), Cause::BadData);
    }
    Write(kData, std::string(1 << 20, 'x'));
    EXPECT_EQ(CauseOf([&] { m_device.ReadData("f"); }), Cause::File);
    m_device.RemoveData("f");
    m_device.WriteData("f", BytesOf("again"));
    EXPECT_EQ(m_device.ReadData("f"), BytesOf("again"));
}

TEST_F(Hostile, FoldersThatAreNoKeysAreNotSeen)
{
    MakeFolder(PathOf("keys\\not a key"));
    MakeFolder(PathOf("keys\\EMPTY"));
    MakeFolder(PathOf("keys\\HALF"));
    Write("keys\\HALF\\key.json", Read(kDescription));
    Write("keys\\FILE", "no folder");
    std::vector<std::string> unreadable;
    EXPECT_EQ(SerialNumbers(m_store.Plugged(&unreadable)), (std::vector<std::string>{"SN01", "SN02"}));
    EXPECT_TRUE(unreadable.empty());
    for (const char* name : {"EMPTY", "HALF", "FILE"}) {
        EXPECT_FALSE(m_store.Find(name)) << name;
        EXPECT_EQ(CauseOf([&] { m_store.Unplug(name); }), Cause::UnknownKey) << name;
        EXPECT_EQ(CauseOf([&] { m_store.Delete(name); }), Cause::UnknownKey) << name;
    }
    EXPECT_EQ(CauseOf([&] { MakeKey(m_store, "EMPTY", {}); }), Cause::BadArgument);
}

TEST_F(Hostile, FoldersInPlaceOfFilesAreFailures)
{
    for (const char* name : {kContainer, kData}) {
        RemoveFile(PathOf(name));
        MakeFolder(PathOf(name));
    }
    UseAll();
    RemoveFile(PathOf(kPins));
    MakeFolder(PathOf(kPins));
    EXPECT_EQ(CauseOf([&] { m_device.TriesLeft(); }), Cause::UnknownKey);
    EXPECT_EQ(SerialNumbers(m_store.Plugged()), std::vector<std::string>{"SN02"});
}

// Changes that nobody thought of.
TEST_F(Hostile, AnyChangedBytesGiveFailuresOnly)
{
    std::mt19937 random(kzr::test::Seed());
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit)(random);
    };
    for (const char* name : {kDescription, kPins, kContainer, kData}) {
        const std::string good = Read(name);
        for (int i = 0; i < kzr::test::Rounds(60, 2000); ++i) {
            std::string bad = good;
            for (std::size_t changes = below(3) + 1; changes > 0 && !bad.empty(); --changes) {
                const std::size_t at = below(bad.size() - 1);
                switch (below(3)) {
                    case 0:
                        bad[at] = static_cast<char>(below(255));
                        break;
                    case 1:
                        bad.resize(at);
                        break;
                    case 2:
                        bad.insert(at, bad.substr(at, below(20)));
                        break;
                    default:
                        bad.erase(at, below(20));
                }
            }
            Write(name, bad);
            UseAll();
        }
        Write(name, good);
    }
    EXPECT_TRUE(m_device.PrivateKey(LogIn(m_device), "c1", Pair::Signing));
}

}  // namespace
}  // namespace kzr::softkey::test
