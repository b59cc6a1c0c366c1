// The external log library beside the module. Once loaded it stays, so every case is a process of its own: a
// copy of this program with a fake library beside it.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <string>

#include "log/Log.h"
#include "log/LogLibrary.h"
#include "support/ChildProcess.h"
#include "support/FakeLog.h"
#include "support/LogReader.h"
#include "support/TempFolder.h"

namespace kzr {
namespace {

using test::ChildResult;
using test::TempFolder;

// Runs a part with that fake beside its program.
ChildResult RunWith(const char* fake, const char* part)
{
    const TempFolder folder;
    wchar_t self[1024] = {};
    GetModuleFileNameW(nullptr, self, 1024);
    const std::wstring program = folder / L"program.exe";
    EXPECT_TRUE(CopyFileW(self, program.c_str(), TRUE));
    if (fake) test::PutFakeLogLibrary(fake, folder.Path());
    return test::RunChild(part, program);
}

std::string WithoutReturns(const std::string& text)
{
    std::string plain;
    for (const char byte : text)
        if (byte != '\r') plain += byte;
    return plain;
}

int PrintNotes()
{
    std::fputs(test::FakeLogNotes().c_str(), stdout);
    std::fflush(stdout);
    return HasLogLibrary() ? 0 : 1;
}

KZR_CHILD(WritesThroughTheLibrary)
{
    InitLog("error", "Q:\\unused\\log.txt");
    WriteLog("src/objects/Crypto", 21, 8, 0x80004005, "value %d", 7);
    WriteLog(nullptr, 4294967295u, 3, 0, "%s", "100%s%n");
    WriteLog("S", 1, 99, 0, "beyond every level");
    WriteLog("S", 2, -1, 0, "two\nlines");
    return PrintNotes();
}

TEST(LogLibrary, GetsEveryMessageWhateverItsLevelAndNoStatus)
{
    const ChildResult ended = RunWith("Whole", "WritesThroughTheLibrary");
    EXPECT_EQ(0u, ended.code);
    EXPECT_EQ(
        "LogInitializeA(KzrSecX)\n"
        "LogOutputA(KzrSecX, src/objects/Crypto, 21, 8, value 7)\n"
        "LogOutputA(KzrSecX, <null>, 4294967295, 3, 100%s%n)\n"
        "LogOutputA(KzrSecX, S, 1, 99, beyond every level)\n"
        "LogOutputA(KzrSecX, S, 2, -1, two\nlines)\n",
        WithoutReturns(ended.output));
}

KZR_CHILD(StartsTheLogTwice)
{
    InitLog("trace", "");
    InitLog("trace", "");
    const int failure = PrintNotes();
    // Loaded once, so given back once it is gone.
    FreeLibrary(GetModuleHandleW(L"KzrLogLib_x64.dll"));
    return test::IsFakeLogLoaded() ? 2 : failure;
}

TEST(LogLibrary, IsLoadedOnceAndToldOfEveryStart)
{
    const ChildResult ended = RunWith("Whole", "StartsTheLogTwice");
    EXPECT_EQ(0u, ended.code);
    EXPECT_EQ("LogInitializeA(KzrSecX)\nLogInitializeA(KzrSecX)\n", WithoutReturns(ended.output));
}

// How many messages of these lengths arrive otherwise than whole, or cut at the greatest length.
int WrongMessages(std::size_t first, std::size_t last)
{
    int wrong = 0;
    std::size_t before = test::FakeLogNotes().size();
    for (std::size_t length = first; length <= last; ++length) {
        const std::string message = std::string(length - 1, 'x') + "y";
        WriteLog("S", 1, 8, 0, "%s", message.c_str());
        const std::string notes = test::FakeLogNotes();
        const std::string expected = "LogOutputA(KzrSecX, S, 1, 8, " + message.substr(0, 32767) + ")\n";
        if (notes.substr(before) != expected) ++wrong;
        before = notes.size();
    }
    return wrong;
}

KZR_CHILD(WritesLongMessages)
{
    InitLog("trace", "");
    return WrongMessages(32767 - 50, 32767 + 50);
}

KZR_CHILD(WritesMessagesOfEveryShortLength)
{
    InitLog("trace", "");
    return WrongMessages(1, 1100);
}

TEST(LogLibrary, GetsATerminatedTextOfAtMost32767Bytes)
{
    EXPECT_EQ(0u, RunWith("Whole", "WritesLongMessages").code);
}

TEST(LogLibrary, GetsMessagesOfEveryShortLengthWhole)
{
    EXPECT_EQ(0u, RunWith("Whole", "WritesMessagesOfEveryShortLength").code);
}

KZR_CHILD(WritesWithoutAWholeLibrary)
{
    TempFolder folder;
    InitLog("trace", test::ToNarrow(folder / L"log.txt").c_str());
    WriteLog("S", 1, 8, 0, "into the file");
    if (test::IsFakeLogLoaded() || HasLogLibrary()) return 1;
    return test::ParseLog(test::ReadWholeFile(folder / L"log.txt")).size() == 1 ? 0 : 2;
}

TEST(LogLibrary, WithoutAnyOneOfItsEntriesIsUnloadedAndTheFileIsUsed)
{
    for (const char* fake :
         {"WithoutLogInitializeA", "WithoutLogOutputA", "WithoutLogOutputW", "WithoutLogTerminateA"})
        EXPECT_EQ(0u, RunWith(fake, "WritesWithoutAWholeLibrary").code) << fake;
}

TEST(LogLibrary, ThatIsNotThereLeavesTheFile)
{
    EXPECT_EQ(0u, RunWith(nullptr, "WritesWithoutAWholeLibrary").code);
}

KZR_CHILD(FindsALibraryLater)
{
    TempFolder folder;
    InitLog("trace", "");
    if (test::IsFakeLogLoaded()) return 1;
    wchar_t self[1024] = {};
    GetModuleFileNameW(nullptr, self, 1024);
    const std::wstring path(self);
    const std::wstring home = path.substr(0, path.rfind(L'\\') + 1);
    // Its other name is waiting there.
    MoveFileW((home + L"waiting.dll").c_str(), (home + L"KzrLogLib_x64.dll").c_str());
    InitLog("trace", "");
    return PrintNotes();
}

TEST(LogLibrary, IsLookedForAtEveryStartUntilThereIsOne)
{
    const TempFolder folder;
    wchar_t self[1024] = {};
    GetModuleFileNameW(nullptr, self, 1024);
    const std::wstring program = folder / L"program.exe";
    ASSERT_TRUE(CopyFileW(self, program.c_str(), TRUE));
    test::PutFakeLogLibrary("Whole", folder.Path());
    ASSERT_TRUE(MoveFileW((folder / L"KzrLogLib_x64.dll").c_str(), (folder / L"waiting.dll").c_str()));
    const ChildResult ended = test::RunChild("FindsALibraryLater", program);
    EXPECT_EQ("LogInitializeA(KzrSecX)\n", WithoutReturns(ended.output));
}

KZR_CHILD(WritesThroughAFaultingLibrary)
{
    InitLog("trace", "");
    SetLastError(4711);
    WriteLog("S", 1, 8, 0, "first");
    WriteLog("S", 2, 8, 0, "second");
    if (GetLastError() != 4711) return 5;
    return PrintNotes();
}

TEST(LogLibrary, ThatFaultsCostsTheLineOnly)
{
    const ChildResult ended = RunWith("Faulting", "WritesThroughAFaultingLibrary");
    EXPECT_EQ(0u, ended.code);
    EXPECT_EQ(
        "LogInitializeA(KzrSecX)\n"
        "LogOutputA(KzrSecX, S, 1, 8, first)\n"
        "LogOutputA(KzrSecX, S, 2, 8, second)\n",
        WithoutReturns(ended.output));
}

}  // namespace
}  // namespace kzr
