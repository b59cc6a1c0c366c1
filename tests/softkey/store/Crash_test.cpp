// A process is killed at a random moment of each kind of write; nothing that was there is lost, and what it
// left behind goes with the next write.
#include <cstdio>
#include <memory>
#include <random>

#include "base/Wide.h"
#include "softkey/store/Process.h"
#include "softkey/store/StoreTest.h"
#include "store/Folder.h"
#include "support/ChildProcess.h"
#include "support/Rounds.h"

namespace kzr::softkey::test {
namespace {

constexpr wchar_t kFolderVariable[] = L"KZR_TEST_STORE";
constexpr char kOtherPin[] = "other pin";
constexpr int kMoments = 20;
constexpr int kMomentsInFull = 300;

Store TestedStore() { return Store(EnvironmentText(kFolderVariable)); }
Device TestedKey() { return *TestedStore().Find("SN01"); }

// One letter for each write that has ended, unbuffered: what the parent has read has happened.
void Say(char letter)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), &letter, 1, &written, nullptr);
}

class Crash : public StoreTest {
  protected:
    Crash()
    {
        SetEnvironmentVariableW(kFolderVariable, ToWide(m_store.Root()).c_str());
        MakeKey(m_store, "SN01", {ContainerOf("c1")}, 100);
    }
    ~Crash() override { SetEnvironmentVariableW(kFolderVariable, nullptr); }

    // Lets the child write, kills it up to `longest` milliseconds after its first write ended and `after` is
    // true, and has the store checked; the child's letters are what it is told.
    void KillAtManyMoments(
        const char* part, unsigned longest, const std::function<void(const std::string&)>& check,
        const std::function<bool()>& after = [] { return true; })
    {
        int killed = 0;
        const int moments = kzr::test::Rounds(kMoments, kMomentsInFull);
        for (int i = 0; i < moments; ++i) {
            Process child(ThisProgram(), {std::string("--child=") + part});
            ASSERT_TRUE(child.WaitForOutput(1)) << "moment " << i << ": " << child.Errors();
            const ULONGLONG started = GetTickCount64();
            while (!after() && GetTickCount64() - started < 10000) continue;
            const auto moment = std::uniform_int_distribution<unsigned>(0, longest * 1000)(m_random);
            WaitMicroseconds(moment);
            child.Kill();
            killed += child.Wait() == 97;
            check(child.Output());
            if (HasFailure()) FAIL() << "moment " << i << ", " << moment << " us";
        }
        // A child that had ended by itself would have written in peace.
        EXPECT_EQ(killed, moments);
    }

    // Found at some of the moments, unless they were too few to say.
    static void ExpectSome(int found)
    {
        if (kzr::test::Rounds(kMoments, kMomentsInFull) >= kMoments) {
            EXPECT_GT(found, 0);
        }
    }

    // Sleeping is too coarse for writes that take a millisecond.
    static void WaitMicroseconds(unsigned microseconds)
    {
        LARGE_INTEGER frequency, start, now;
        QueryPerformanceFrequency(&frequency);
        QueryPerformanceCounter(&start);
        if (microseconds > 20000) Sleep(microseconds / 1000 - 15);
        do {
            QueryPerformanceCounter(&now);
        } while ((now.QuadPart - start.QuadPart) * 1000000 / frequency.QuadPart < microseconds);
    }

    std::mt19937 m_random{kzr::test::Seed()};
};

KZR_CHILD(ReplacesData)
{
    const Device device = TestedKey();
    for (int i = 0;; ++i) {
        device.WriteData("f",
                         Bytes(static_cast<std::size_t>(20000 + i % 7 * 5000), static_cast<std::uint8_t>(i)));
        Say('+');
    }
}

TEST_F(Crash, OfADataFileTheOldContentOrTheNewStays)
{
    const Device device = TestedKey();
    device.WriteData("other", BytesOf("untouched"));
    KillAtManyMoments("ReplacesData", 60, [&](const std::string& written) {
        const auto content = device.ReadData("f");
        ASSERT_TRUE(content);
        // The last that ended, or the one under way.
        const auto last = static_cast<std::uint8_t>(written.size() - 1);
        const std::uint8_t is = content->at(0);
        EXPECT_TRUE(is == last || is == static_cast<std::uint8_t>(last + 1))
            << int{is} << " after " << int{last};
        EXPECT_EQ(*content, Bytes(static_cast<std::size_t>(20000 + is % 7 * 5000), is));
        EXPECT_EQ(device.ReadData("other"), BytesOf("untouched"));
    });
    device.WriteData("other", BytesOf("more"));
    EXPECT_TRUE(Leftovers().empty());
}

KZR_CHILD(TriesWrongPinsForever)
{
    const Device device = TestedKey();
    Secret deviceKey;
    while (device.Login(kWrongPin, deviceKey).result == PinResult::Wrong) Say('w');
    Sleep(60000);
    return 0;
}

TEST_F(Crash, NoKillGivesATryBack)
{
    const Device device = TestedKey();
    KillAtManyMoments("TriesWrongPinsForever", 400, [&](const std::string& spent) {
        const int left = device.TriesLeft();
        const int ended = static_cast<int>(spent.size());
        EXPECT_LE(left, 100 - ended);
        EXPECT_GE(left, 100 - ended - 1);
        LogIn(device);
    });
    EXPECT_TRUE(device.PrivateKey(LogIn(device), "c1", Pair::Signing));
}

KZR_CHILD(ChangesPins)
{
    const Device device = TestedKey();
    for (bool back = device.ChangePin(kPin, kOtherPin).result == PinResult::Right;; back = !back) {
        device.ChangePin(back ? kOtherPin : kPin, back ? kPin : kOtherPin);
        Say('c');
    }
}

TEST_F(Crash, OfAPinTheOldOneOrTheNewOpensTheKey)
{
    const Device device = TestedKey();
    KillAtManyMoments("ChangesPins", 400, [&](const std::string&) {
        Secret deviceKey;
        const bool old = device.Login(kPin, deviceKey).result == PinResult::Right;
        if (!old) {
            EXPECT_EQ(device.Login(kOtherPin, deviceKey).result, PinResult::Right);
            EXPECT_EQ(device.ChangePin(kOtherPin, kPin).result, PinResult::Right);
        }
        EXPECT_TRUE(device.PrivateKey(deviceKey, "c1", Pair::Exchange));
    });
}

KZR_CHILD(AddsAndRemovesContainers)
{
    const Device device = TestedKey();
    const Secret deviceKey = LogIn(device);
    const NewContainer container = ContainerOf("x", "Xaver");
    while (true) {
        if (ContainerNames(device).size() < 2) device.AddContainer(deviceKey, container);
        Say('a');
        // Some of the kills are to find it there.
        Sleep(15);
        device.RemoveContainer("x");
        Say('r');
    }
}

TEST_F(Crash, AContainerIsThereWholeOrNotAtAll)
{
    const Device device = TestedKey();
    const Secret deviceKey = LogIn(device);
    int there = 0;
    KillAtManyMoments("AddsAndRemovesContainers", 60, [&](const std::string&) {
        std::vector<std::string> unreadable;
        const auto containers = device.Containers(&unreadable);
        EXPECT_TRUE(unreadable.empty());
        ASSERT_FALSE(containers.empty());
        for (const ContainerDescription& container : containers) {
            there += container.name == "x";
            EXPECT_TRUE(device.PrivateKey(deviceKey, container.name, Pair::Signing)) << container.name;
        }
        EXPECT_EQ(containers.front().name, "c1");
    });
    ExpectSome(there);
    device.AddContainer(deviceKey, ContainerOf("y"));
    EXPECT_TRUE(Leftovers().empty());
}

KZR_CHILD(PlugsAndUnplugs)
{
    Store store = TestedStore();
    while (true) {
        store.Plug("SN01");
        Say('p');
        store.Unplug("SN01");
        Say('u');
    }
}

TEST_F(Crash, AKeyIsPluggedOrNotButNeverLost)
{
    KillAtManyMoments("PlugsAndUnplugs", 40, [&](const std::string&) {
        const auto plugged = m_store.Find("SN01"), parked = m_store.FindParked("SN01");
        ASSERT_NE(plugged.has_value(), parked.has_value());
        const Device& device = plugged ? *plugged : *parked;
        EXPECT_EQ(ContainerNames(device), std::vector<std::string>{"c1"});
        EXPECT_EQ(device.TriesLeft(), 100);
    });
    m_store.Plug("SN01");
    LogIn(TestedKey());
}

KZR_CHILD(CreatesAndDeletesKeys)
{
    Store store = TestedStore();
    std::vector<NewContainer> containers;
    for (int i = 0; i < 8; ++i) containers.push_back(ContainerOf("x" + std::to_string(i)));
    Say('+');
    while (true) {
        if (!store.Find("NEW")) MakeKey(store, "NEW", containers);
        Say('m');
        // Some of the kills are to find it made.
        Sleep(200);
        store.Delete("NEW");
        Say('d');
    }
}

TEST_F(Crash, AKeyThatWasNotFinishedDoesNotExist)
{
    int there = 0;
    const auto checkAll = [&](const std::string&) {
        std::vector<std::string> unreadable;
        const auto keys = m_store.Plugged(&unreadable);
        EXPECT_TRUE(unreadable.empty());
        // So that the next child's work can be told from this one's.
        for (const std::string& name : FoldersIn(PathOf("making"))) RemoveFolder(PathOf("making\\" + name));
        const auto made = m_store.Find("NEW");
        EXPECT_EQ(keys.size(), made ? 2u : 1u);
        EXPECT_EQ(FoldersIn(PathOf("keys")).size(), keys.size());
        if (!made) return;
        ++there;
        EXPECT_EQ(ContainerNames(*made).size(), 8u);
        EXPECT_TRUE(made->PrivateKey(LogIn(*made), "x7", Pair::Exchange));
    };
    // Most of the time goes into stretching PINs: the moments that count are those when something is being
    // made or removed.
    KillAtManyMoments("CreatesAndDeletesKeys", 400, checkAll,
                      [&] { return !FoldersIn(PathOf("making")).empty(); });
    ExpectSome(there);
    if (m_store.Find("NEW")) m_store.Delete("NEW");
    MakeFolder(PathOf("making\\HALF\\containers"));
    MakeKey(m_store, "LAST", {});
    EXPECT_TRUE(Leftovers().empty());
}

KZR_CHILD(DescribesTheKey)
{
    Store store = TestedStore();
    for (int i = 0;; ++i) {
        const std::string text = "version " + std::to_string(i);
        store.Describe({"SN01", text, text, text});
        Say('d');
    }
}

TEST_F(Crash, OfADescriptionTheOldOneOrTheNewStays)
{
    KillAtManyMoments("DescribesTheKey", 40, [&](const std::string& written) {
        const DeviceDescription& description = TestedKey().Description();
        EXPECT_EQ(description.type, description.extensionLibrary);
        EXPECT_EQ(description.type, description.provider);
        const std::string last = std::to_string(written.size() - 1), next = std::to_string(written.size());
        EXPECT_TRUE(description.type == "version " + last || description.type == "version " + next);
    });
    m_store.Describe({"SN01", "T", "L", "P"});
    EXPECT_TRUE(Leftovers().empty());
}

}  // namespace
}  // namespace kzr::softkey::test
