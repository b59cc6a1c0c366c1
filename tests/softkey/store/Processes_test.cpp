// Two processes at one key, and the lock that keeps them apart.
#include <cstdio>
#include <memory>

#include "base/Wide.h"
#include "com/Handles.h"
#include "softkey/store/Process.h"
#include "softkey/store/StoreTest.h"
#include "store/FileLock.h"
#include "store/Folder.h"
#include "support/ChildProcess.h"

namespace kzr::softkey::test {
namespace {

constexpr wchar_t kFolderVariable[] = L"KZR_TEST_STORE";

// The children of a test find its store in the environment.
class Processes : public StoreTest {
  protected:
    Processes() { SetEnvironmentVariableW(kFolderVariable, ToWide(m_store.Root()).c_str()); }
    ~Processes() override { SetEnvironmentVariableW(kFolderVariable, nullptr); }

    static std::unique_ptr<Process> Start(const std::string& part)
    {
        return std::make_unique<Process>(ThisProgram(), std::vector{"--child=" + part});
    }
};

Store TestedStore() { return Store(EnvironmentText(kFolderVariable)); }

int Say(const char* text)
{
    std::fputs(text, stdout);
    return std::fflush(stdout);
}

constexpr wchar_t kGo[] = L"KzrSoftKeyTestGo";
using UniqueEvent = UniqueHandle<HANDLE, &CloseHandle>;

// "r" when it is ready, "w" for each try that was wrong, "l" at the end: locked.
KZR_CHILD(TriesWrongPins)
{
    const Device device = *TestedStore().Find("SN01");
    const UniqueEvent go(OpenEventW(SYNCHRONIZE, FALSE, kGo));
    Say("r");
    if (WaitForSingleObject(go.Get(), 30000) != WAIT_OBJECT_0) return 3;
    Secret deviceKey;
    for (int i = 0; i < 100; ++i) {
        const PinAnswer answer = device.Login(kWrongPin, deviceKey);
        if (answer.result == PinResult::Locked) return Say("l");
        if (answer.result == PinResult::Right) return 1;
        Say("w");
    }
    return 2;
}

TEST_F(Processes, TenWrongPinsFromTwoProcessesLockAfterExactlyTen)
{
    const Device device = MakeKey(m_store);
    const UniqueEvent go(CreateEventW(nullptr, TRUE, FALSE, kGo));
    const auto first = Start("TriesWrongPins"), second = Start("TriesWrongPins");
    ASSERT_TRUE(first->WaitForOutput(1) && second->WaitForOutput(1));
    SetEvent(go.Get());
    EXPECT_EQ(first->Wait(), 0u);
    EXPECT_EQ(second->Wait(), 0u);
    const std::string both = first->Output() + second->Output();
    EXPECT_EQ(std::count(both.begin(), both.end(), 'w'), 10);
    EXPECT_EQ(std::count(both.begin(), both.end(), 'l'), 2);
    // They took turns: neither was kept waiting while the other tried all ten.
    for (const auto* child : {&first, &second})
        EXPECT_GE(std::count((*child)->Output().begin(), (*child)->Output().end(), 'w'), 3);
    Secret deviceKey;
    EXPECT_EQ(device.Login(kPin, deviceKey).result, PinResult::Locked);
}

// "+" for each file written. Two processes write the same file, and one of their own.
KZR_CHILD(WritesData)
{
    const Device device = *TestedStore().Find("SN01");
    const std::string own = "own" + std::to_string(GetCurrentProcessId());
    for (int i = 0; i < 40; ++i) {
        device.WriteData("shared", Bytes(1000, static_cast<std::uint8_t>(i)));
        device.WriteData(own, BytesOf(std::to_string(i)));
        Say("+");
    }
    return 0;
}

TEST_F(Processes, WritersOfTheSameFileLeaveOneOfTheirContents)
{
    const Device device = MakeKey(m_store);
    const auto first = Start("WritesData"), second = Start("WritesData");
    while (!device.ReadData("shared")) Sleep(5);
    for (int i = 0; i < 40; ++i) {
        const Bytes content = *device.ReadData("shared");
        ASSERT_EQ(content, Bytes(1000, content.at(0)));
    }
    EXPECT_EQ(first->Wait(), 0u) << first->Errors();
    EXPECT_EQ(second->Wait(), 0u) << second->Errors();
    EXPECT_EQ(device.DataNames().size(), 3u);
    for (const std::string& name : device.DataNames()) {
        if (name == "shared") continue;
        EXPECT_EQ(device.ReadData(name), BytesOf("39"));
    }
    EXPECT_TRUE(Leftovers().empty());
}

// Creates keys until it is told apart by "1" (made) and "0" (taken).
KZR_CHILD(CreatesKeys)
{
    Store store = TestedStore();
    for (int i = 0; i < 8; ++i) {
        const std::string number = "K" + std::to_string(i);
        Say(CauseOf([&] { MakeKey(store, number, {}); }) ? "0" : "1");
    }
    return 0;
}

TEST_F(Processes, OfTwoThatMakeTheSameKeyOneSucceeds)
{
    const auto first = Start("CreatesKeys"), second = Start("CreatesKeys");
    EXPECT_EQ(first->Wait(), 0u);
    EXPECT_EQ(second->Wait(), 0u);
    ASSERT_EQ(first->Output().size(), 8u);
    ASSERT_EQ(second->Output().size(), 8u);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_NE(first->Output()[i], second->Output()[i]) << i;
    EXPECT_EQ(m_store.Plugged().size(), 8u);
    EXPECT_TRUE(Leftovers().empty());
}

KZR_CHILD(HoldsTheLock)
{
    const FileLock lock(EnvironmentText(kFolderVariable) + "\\locks\\SN01.lock");
    Say("h");
    Sleep(120000);
    return 0;
}

// Takes a lock and has its files removed, again and again; ends with 1 when it was not alone.
KZR_CHILD(RemovesTheLock)
{
    const std::string folder = EnvironmentText(kFolderVariable) + "\\locks";
    for (int i = 0; i < 150; ++i) {
        const FileLock lock(folder + "\\SN01.lock");
        const UniqueFile inside(CreateFileW(ToWide(folder + "\\inside").c_str(), GENERIC_WRITE, 0, nullptr,
                                            CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (!inside) return 1;
        if (i % 3 != 0) lock.RemoveFiles();
    }
    return 0;
}

TEST_F(Processes, ALockWhoseFilesGoStillHasOneHolderAtATime)
{
    const auto first = Start("RemovesTheLock"), second = Start("RemovesTheLock"),
               third = Start("RemovesTheLock");
    for (const auto* child : {&first, &second, &third}) EXPECT_EQ((*child)->Wait(), 0u) << (*child)->Errors();
    EXPECT_EQ(FilesIn(PathOf("locks")), std::vector<std::string>{});
}

TEST_F(Processes, ALockIsFreeWhenItsHolderWasKilled)
{
    const Device device = MakeKey(m_store);
    const auto holder = Start("HoldsTheLock");
    ASSERT_TRUE(holder->WaitForOutput(1));
    std::thread killer([&] {
        Sleep(300);
        holder->Kill();
    });
    const ULONGLONG started = GetTickCount64();
    EXPECT_EQ(device.TriesLeft(), 10);
    const ULONGLONG took = GetTickCount64() - started;
    killer.join();
    EXPECT_GE(took, 200u);
    EXPECT_LT(took, 5000u);
}

TEST_F(Processes, WaitingForALockEndsAfterTenSecondsWithAFailure)
{
    const Device device = MakeKey(m_store);
    const auto holder = Start("HoldsTheLock");
    ASSERT_TRUE(holder->WaitForOutput(1));
    const ULONGLONG started = GetTickCount64();
    EXPECT_EQ(CauseOf([&] { device.TriesLeft(); }), Cause::File);
    const ULONGLONG took = GetTickCount64() - started;
    EXPECT_GE(took, 9000u);
    EXPECT_LT(took, 15000u);
    holder->Kill();
    EXPECT_EQ(device.TriesLeft(), 10);
}

TEST_F(Processes, APullWaitsForWhoeverUsesTheKey)
{
    MakeKey(m_store);
    const auto holder = Start("HoldsTheLock");
    ASSERT_TRUE(holder->WaitForOutput(1));
    std::thread puller([&] { m_store.Unplug("SN01"); });
    Sleep(300);
    EXPECT_TRUE(Exists("keys\\SN01"));
    holder->Kill();
    puller.join();
    EXPECT_TRUE(Exists("parked\\SN01"));
}

}  // namespace
}  // namespace kzr::softkey::test
