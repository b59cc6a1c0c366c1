// News of keys that come and go.
#include <atomic>
#include <mutex>

#include "softkey/store/StoreTest.h"
#include "store/Folder.h"
#include "store/Watcher.h"

namespace kzr::softkey::test {
namespace {

using Names = std::vector<std::string>;

// "+SN01" and "-SN01" in their order.
class Watching : public StoreTest {
  protected:
    void Watch()
    {
        m_watcher = std::make_unique<Watcher>(m_store.Root(), [this](const PlugEvent& event) {
            const std::lock_guard lock(m_mutex);
            m_events.push_back((event.plugged ? "+" : "-") + event.serialNumber);
            m_threads.insert(GetCurrentThreadId());
        });
    }

    // As soon as there are that many; what there is after five seconds otherwise.
    Names Events(std::size_t count)
    {
        const ULONGLONG started = GetTickCount64();
        while (GetTickCount64() - started < 5000) {
            {
                const std::lock_guard lock(m_mutex);
                if (m_events.size() >= count) break;
            }
            Sleep(5);
        }
        const std::lock_guard lock(m_mutex);
        return m_events;
    }

    std::mutex m_mutex;
    Names m_events;
    std::set<DWORD> m_threads;
    std::unique_ptr<Watcher> m_watcher;
};

TEST_F(Watching, KeysThatAreThereAtTheBeginningAreNoNews)
{
    MakeKey(m_store, "SN01", {});
    Watch();
    Sleep(1200);
    EXPECT_EQ(Events(0), Names{});
}

TEST_F(Watching, AKeyIsToldWhenItComesAndGoes)
{
    Watch();
    MakeKey(m_store, "SN01", {});
    EXPECT_EQ(Events(1), Names{"+SN01"});
    m_store.Unplug("SN01");
    EXPECT_EQ(Events(2), (Names{"+SN01", "-SN01"}));
    m_store.Plug("SN01");
    EXPECT_EQ(Events(3), (Names{"+SN01", "-SN01", "+SN01"}));
    m_store.Delete("SN01");
    EXPECT_EQ(Events(4), (Names{"+SN01", "-SN01", "+SN01", "-SN01"}));
    Sleep(1200);
    EXPECT_EQ(Events(0).size(), 4u);
    EXPECT_EQ(m_threads.size(), 1u);
    EXPECT_FALSE(m_threads.contains(GetCurrentThreadId()));
}

TEST_F(Watching, WhoeverWantsToHearsOfEachListing)
{
    std::atomic<int> listed{0};
    const Watcher watcher(
        m_store.Root(), [](const PlugEvent&) {}, [&] { ++listed; });
    const ULONGLONG started = GetTickCount64();
    while (listed < 3 && GetTickCount64() - started < 5000) Sleep(5);
    EXPECT_GE(listed, 3);
}

TEST_F(Watching, NewsComesWithinHalfASecond)
{
    MakeKey(m_store, "SN01", {});
    Watch();
    Sleep(100);
    m_store.Unplug("SN01");
    const ULONGLONG started = GetTickCount64();
    EXPECT_EQ(Events(1), Names{"-SN01"});
    EXPECT_LE(GetTickCount64() - started, 700u);
}

TEST_F(Watching, AKeyThatIsPulledAndPluggedAtOnceIsToldAsBoth)
{
    MakeKey(m_store, "SN01", {});
    Watch();
    Sleep(100);
    m_store.Unplug("SN01");
    m_store.Plug("SN01");
    EXPECT_EQ(Events(2), (Names{"-SN01", "+SN01"}));
}

TEST_F(Watching, EveryKeyIsToldOnce)
{
    for (int i = 0; i < 5; ++i) MakeKey(m_store, "SN" + std::to_string(i), {});
    Watch();
    for (int i = 0; i < 5; ++i) m_store.Unplug("SN" + std::to_string(i));
    EXPECT_EQ(Events(5), (Names{"-SN0", "-SN1", "-SN2", "-SN3", "-SN4"}));
}

TEST_F(Watching, WhatIsNoWholeKeyIsNotTold)
{
    Watch();
    MakeFolder(PathOf("keys\\HALF"));
    MakeFolder(PathOf("keys\\not a key"));
    RemoveFolder(PathOf("keys\\not a key"));
    Sleep(700);
    EXPECT_EQ(Events(0), Names{});
    // One copied in by hand becomes a key when its last file is there.
    MakeKey(m_store, "SN01", {});
    EXPECT_EQ(Events(1), Names{"+SN01"});
    Write("keys\\HALF\\key.json", Read("keys\\SN01\\key.json"));
    Write("keys\\HALF\\pin.json", Read("keys\\SN01\\pin.json"));
    EXPECT_EQ(Events(2), (Names{"+SN01", "+HALF"}));
}

TEST_F(Watching, AFolderThatWasRemovedAndMadeAgainIsWatchedOn)
{
    MakeKey(m_store, "SN01", {});
    Watch();
    Sleep(100);
    RemoveFolder(PathOf("keys"));
    EXPECT_EQ(Events(1), Names{"-SN01"});
    Sleep(700);
    Store again(m_store.Root());
    MakeKey(again, "SN02", {});
    EXPECT_EQ(Events(2), (Names{"-SN01", "+SN02"}));
}

TEST_F(Watching, EndingWaitsForTheCallUnderWayAndNothingIsToldAfterwards)
{
    MakeKey(m_store, "SN01", {});
    std::atomic<int> state{0};
    auto watcher = std::make_unique<Watcher>(m_store.Root(), [&](const PlugEvent&) {
        state = 1;
        Sleep(400);
        state = 2;
    });
    m_store.Unplug("SN01");
    while (state == 0) Sleep(1);
    watcher.reset();
    EXPECT_EQ(state, 2);
    m_store.Plug("SN01");
    Sleep(700);
    EXPECT_EQ(state, 2);
}

TEST_F(Watching, WhoCannotTakeOneNewsHearsTheNext)
{
    int told = 0;
    Watcher watcher(m_store.Root(), [&](const PlugEvent& event) {
        if (++told == 1) throw std::bad_alloc();
        const std::lock_guard lock(m_mutex);
        m_events.push_back((event.plugged ? "+" : "-") + event.serialNumber);
    });
    MakeKey(m_store, "SN01", {});
    Sleep(700);
    m_store.Unplug("SN01");
    EXPECT_EQ(Events(1), Names{"-SN01"});
}

TEST_F(Watching, AWatcherEndsAtOnceAndLeavesNoHandle)
{
    Watch();
    m_watcher.reset();
    DWORD before = 0, after = 0;
    GetProcessHandleCount(GetCurrentProcess(), &before);
    const ULONGLONG started = GetTickCount64();
    for (int i = 0; i < 20; ++i) {
        Watch();
        m_watcher.reset();
    }
    EXPECT_LT(GetTickCount64() - started, 4000u);
    GetProcessHandleCount(GetCurrentProcess(), &after);
    EXPECT_EQ(after, before);
    RemoveFolder(PathOf("keys"));
}

}  // namespace
}  // namespace kzr::softkey::test
