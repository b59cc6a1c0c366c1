// Where lines go, which are written, and what writing one leaves as it was.
#include "log/Log.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <thread>
#include <vector>

#include "log/LogLine.h"
#include "support/ChildProcess.h"
#include "support/LogReader.h"
#include "support/TempFolder.h"

namespace kzr {
namespace {

using test::LogRecord;
using test::ReadWholeFile;
using test::TempFolder;
using test::ToNarrow;

class Log : public testing::Test {
  protected:
    void SetUp() override { UseFile(L"log.txt"); }
    void TearDown() override { SetLogLevelAndPath("trace", ""); }

    void UseFile(const wchar_t* name)
    {
        m_path = m_folder / name;
        SetLogLevelAndPath("trace", ToNarrow(m_path).c_str());
    }
    std::string Bytes() const { return ReadWholeFile(m_path); }
    std::vector<LogRecord> Records() const { return test::ParseLog(Bytes()); }
    const std::wstring& Path() const { return m_path; }
    const TempFolder& Folder() const { return m_folder; }

    // The levels of which a line is written under this threshold.
    std::string WrittenLevels()
    {
        DeleteFileW(m_path.c_str());
        for (int level = 0; level <= 9; ++level) WriteLog("S", 1, level, 0, "%d", level);
        std::string levels;
        for (const LogRecord& record : Records()) levels += record.message;
        return levels;
    }

  private:
    TempFolder m_folder;
    std::wstring m_path;
};

TEST_F(Log, AppendsEachLineToTheFile)
{
    WriteLog("src/Crypto", 21, 8, 0, "first %d", 1);
    WriteLog(nullptr, 22, 3, 0x80004005, "second");
    const std::vector<LogRecord> records = Records();
    ASSERT_EQ(2u, records.size());
    EXPECT_EQ("[trace] Crypto status(0) first 1", Describe(records[0]));
    EXPECT_EQ(21, records[0].line);
    EXPECT_EQ("[error]  status(80004005) second", Describe(records[1]));
    EXPECT_NE(std::string::npos, records[1].raw.find("]status(80004005), second\r\n"));
    for (const LogRecord& record : records) EXPECT_EQ(static_cast<long>(GetCurrentThreadId()), record.thread);
}

TEST_F(Log, ShowsTheLocalTime)
{
    SYSTEMTIME before, after;
    GetLocalTime(&before);
    WriteLog("S", 1, 8, 0, "m");
    GetLocalTime(&after);
    const auto shown = [](const SYSTEMTIME& t) {
        char text[32];
        snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d.%03d", t.wYear, t.wMonth, t.wDay, t.wHour,
                 t.wMinute, t.wSecond, t.wMilliseconds);
        return std::string(text);
    };
    const std::vector<LogRecord> records = Records();
    ASSERT_EQ(1u, records.size());
    EXPECT_LE(shown(before), records[0].time);
    EXPECT_GE(shown(after), records[0].time);
}

TEST_F(Log, NamesTheWritingThread)
{
    DWORD other = 0;
    std::thread([&] {
        other = GetCurrentThreadId();
        WriteLog("S", 1, 8, 0, "m");
    }).join();
    ASSERT_EQ(1u, Records().size());
    EXPECT_EQ(static_cast<long>(other), Records()[0].thread);
}

TEST_F(Log, EveryLevelIsWrittenUpToTheThreshold)
{
    const struct {
        const char* name;
        const char* written;
    } rows[] = {{"emerg", "0"},      {"alert", "01"},       {"crit", "012"},
                {"error", "0123"},   {"warn", "01234"},     {"notice", "012345"},
                {"info", "0123456"}, {"debug", "01234567"}, {"trace", "012345678"}};
    for (const auto& row : rows) {
        SetLogLevelAndPath(row.name, ToNarrow(Path()).c_str());
        EXPECT_EQ(row.written, WrittenLevels()) << row.name;
    }
}

TEST_F(Log, AnUnknownOrEmptyLevelNameLeavesTheThreshold)
{
    SetLogLevelAndPath("error", ToNarrow(Path()).c_str());
    for (const char* name : {"", "Trace", "TRACE", "trac", "tracer", "8"}) {
        SetLogLevelAndPath(name, ToNarrow(Path()).c_str());
        EXPECT_EQ("0123", WrittenLevels()) << name;
    }
}

TEST_F(Log, InitLogSetsLevelAndPath)
{
    InitLog("error", ToNarrow(Path()).c_str());
    WriteLog("S", 1, 8, 0, "dropped");
    WriteLog("S", 1, 3, 0, "written");
    ASSERT_EQ(1u, Records().size());
    EXPECT_EQ("written", Records()[0].message);
}

TEST_F(Log, AValueThatLooksLikeAFormatIsWrittenAsItStands)
{
    WriteLog("%s%n%d", 1, 8, 0, "(%s)", "%s%s%n %d 100%");
    ASSERT_EQ(1u, Records().size());
    EXPECT_EQ("(%s%s%n %d 100%)", Records()[0].message);
    EXPECT_EQ("%s%n%d", Records()[0].source);
}

TEST_F(Log, APathWithPercentSignsIsAPath)
{
    UseFile(L"100%s%d%n.log");
    WriteLog("S", 1, 8, 0, "m");
    EXPECT_EQ(1u, Records().size());
}

TEST_F(Log, LineFeedsInsideAMessageLeaveAsTwoBytes)
{
    WriteLog("S", 1, 8, 0, "one\ntwo\n\n%s", "three\r\nfour");
    EXPECT_TRUE(Bytes().ends_with("one\r\ntwo\r\n\r\nthree\r\r\nfour\r\n")) << Bytes();
    ASSERT_EQ(1u, Records().size());
}

TEST_F(Log, TheBytesAreExactFor101LengthsAroundTheBuffersEnd)
{
    WriteLog("S", 1, 8, 0, "%s", "");
    const std::size_t prefix = Bytes().size() - 2;
    const std::size_t rest = kLineCapacity - prefix;
    for (std::size_t length = rest - 51; length <= rest + 49; ++length) {
        DeleteFileW(Path().c_str());
        const std::string message = std::string(length - 1, 'x') + "y";
        WriteLog("S", 1, 8, 0, "%s", message.c_str());
        const std::string bytes = Bytes();
        if (length < rest) {
            ASSERT_EQ(prefix + length + 2, bytes.size());
            ASSERT_EQ(message + "\r\n", bytes.substr(prefix));
        } else {
            ASSERT_EQ(prefix - 1 + 2, bytes.size());
            ASSERT_EQ("status(0),\r\n", bytes.substr(bytes.size() - 12));
        }
    }
}

TEST_F(Log, KeepsTheThreadsLastError)
{
    for (const DWORD error : {0ul, 5ul, 0x80004005ul, 123456ul}) {
        SetLastError(error);
        WriteLog("S", 1, 8, 0, "m");
        EXPECT_EQ(error, GetLastError());
    }
    SetLogLevelAndPath("trace", "Q:\\there\\is\\no\\such\\folder\\log.txt");
    SetLastError(87);
    WriteLog("S", 1, 9, 0, "dropped by its level");
    EXPECT_EQ(87u, GetLastError());
}

TEST_F(Log, AFileThatSomebodyReadsAndWritesIsStillAppendedTo)
{
    const HANDLE reader = CreateFileW(Path().c_str(), GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, reader);
    WriteLog("S", 1, 8, 0, "m");
    CloseHandle(reader);
    EXPECT_EQ(1u, Records().size());
}

TEST_F(Log, TheFileIsClosedAfterEveryLine)
{
    WriteLog("S", 1, 8, 0, "first");
    // Would fail as long as anybody had it open.
    const HANDLE alone =
        CreateFileW(Path().c_str(), GENERIC_READ | DELETE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, alone);
    CloseHandle(alone);
    EXPECT_TRUE(DeleteFileW(Path().c_str()));
    WriteLog("S", 1, 8, 0, "second");
    ASSERT_EQ(1u, Records().size());
    EXPECT_EQ("second", Records()[0].message);
}

TEST_F(Log, LinesOfManyThreadsStayWhole)
{
    constexpr int kThreads = 4, kLines = 50;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([thread] {
            // All of one length: where a system lets two threads append at one place, one line replaces
            // another.
            for (int i = 0; i < kLines; ++i)
                WriteLog("S", 1, 8, 0, "thread %06d line %03d end", static_cast<int>(GetCurrentThreadId()),
                         100 * thread + i);
        });
    for (std::thread& thread : threads) thread.join();
    const std::vector<LogRecord> records = Records();
    EXPECT_GE(records.size(), static_cast<std::size_t>(kThreads * kLines * 3 / 4));
    for (const LogRecord& record : records) {
        EXPECT_TRUE(record.message.starts_with("thread ") && record.message.ends_with(" end")) << record.raw;
    }
}

// Standard output is looked at by a process of its own, into a pipe.

KZR_CHILD(WritesBeforeTheLogIsStarted)
{
    WriteLog("S", 7, 8, 0, "one\ntwo");
    return 0;
}

TEST(LogToStandardOutput, BeforeTheLogIsStarted)
{
    const test::ChildResult ended = test::RunChild("WritesBeforeTheLogIsStarted");
    ASSERT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code);
    const std::vector<LogRecord> records = test::ParseLog(ended.output);
    ASSERT_EQ(1u, records.size()) << ended.output;
    EXPECT_EQ("one\ntwo", records[0].message);
    EXPECT_TRUE(ended.output.ends_with("one\r\ntwo\r\n"));
}

KZR_CHILD(WritesToAFolderThatVanishes)
{
    TempFolder folder;
    SetLogLevelAndPath("trace", ToNarrow(folder / L"log.txt").c_str());
    WriteLog("S", 1, 8, 0, "into the file");
    DeleteFileW((folder / L"log.txt").c_str());
    RemoveDirectoryW(folder.Path().c_str());
    WriteLog("S", 2, 8, 0, "without a folder");
    CreateDirectoryW(folder.Path().c_str(), nullptr);
    WriteLog("S", 3, 8, 0, "into the file again");
    return test::ParseLog(ReadWholeFile(folder / L"log.txt")).size() == 1 ? 0 : 1;
}

TEST(LogToStandardOutput, WhileTheFolderIsAway)
{
    const test::ChildResult ended = test::RunChild("WritesToAFolderThatVanishes");
    EXPECT_EQ(0u, ended.code);
    const std::vector<LogRecord> records = test::ParseLog(ended.output);
    ASSERT_EQ(1u, records.size()) << ended.output;
    EXPECT_EQ("[trace] S status(0) without a folder", Describe(records[0]));
}

KZR_CHILD(WritesWithAThresholdToStandardOutput)
{
    SetLogLevelAndPath("error", "");
    WriteLog("S", 1, 8, 0, "dropped");
    WriteLog("S", 2, 3, 0, "written");
    SetLogLevelAndPath("", "Q:\\no\\such\\folder\\log.txt");
    WriteLog("S", 3, 3, 0, "unopenable");
    return 0;
}

TEST(LogToStandardOutput, TheThresholdHoldsThereToo)
{
    const test::ChildResult ended = test::RunChild("WritesWithAThresholdToStandardOutput");
    const std::vector<LogRecord> records = test::ParseLog(ended.output);
    ASSERT_EQ(2u, records.size()) << ended.output;
    EXPECT_EQ("written", records[0].message);
    EXPECT_EQ("unopenable", records[1].message);
}

KZR_CHILD(WritesWithoutStandardOutput)
{
    SetStdHandle(STD_OUTPUT_HANDLE, nullptr);
    WriteLog("S", 1, 8, 0, "nowhere");
    SetStdHandle(STD_OUTPUT_HANDLE, INVALID_HANDLE_VALUE);
    WriteLog("S", 1, 8, 0, "nowhere");
    return 17;
}

TEST(LogToStandardOutput, NoneAtAllCostsTheLineOnly)
{
    const test::ChildResult ended = test::RunChild("WritesWithoutStandardOutput");
    EXPECT_EQ(17u, ended.code);
    EXPECT_EQ("", ended.output);
}

}  // namespace
}  // namespace kzr
