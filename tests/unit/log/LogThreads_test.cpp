// Many threads that write at once: every line stays whole, and next to none is lost.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "log/Log.h"
#include "support/LogReader.h"
#include "support/Rounds.h"
#include "support/TempFolder.h"

namespace kzr {
namespace {

constexpr int kThreads = 8;

struct Written {
    std::size_t wanted = 0;
    std::size_t whole = 0;
    std::size_t torn = 0;
};

// Each line has a length of its own, so that one written over another leaves a rest behind.
std::string MessageOf(int thread, int line)
{
    char start[64];
    snprintf(start, sizeof(start), "thread %d line %06d ", thread, line);
    return start + std::string(static_cast<std::size_t>((thread * 37 + line * 11) % 300), 'x') + " end";
}

// What a log of such lines holds of them.
Written Judge(const std::string& bytes, int lines)
{
    std::set<std::string> expected;
    for (int thread = 0; thread < kThreads; ++thread)
        for (int i = 0; i < lines; ++i) expected.insert(MessageOf(thread, i));
    Written written{expected.size()};
    for (const test::LogRecord& record : test::ParseLog(bytes))
        ++(expected.erase(record.message) ? written.whole : written.torn);
    return written;
}

std::string WriteFromThreads(const std::wstring& path, int lines)
{
    SetLogLevelAndPath("trace", test::ToNarrow(path).c_str());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([thread, lines] {
            for (int i = 0; i < lines; ++i) WriteLog("S", 1, 8, 0, "%s", MessageOf(thread, i).c_str());
        });
    for (std::thread& thread : threads) thread.join();
    SetLogLevelAndPath("trace", "");
    return test::ReadWholeFile(path);
}

TEST(LogOfManyThreads, TearsNoLineAndLosesAtMostOneInAThousand)
{
    const test::TempFolder folder;
    const int lines = test::Rounds(1000, 10000);
    const Written written = Judge(WriteFromThreads(folder / L"log.txt", lines), lines);
    std::printf("%zu lines: %zu whole, %zu torn\n", written.wanted, written.whole, written.torn);
    std::printf("did: log faults: %zu lines of eight threads\n", written.wanted);
    EXPECT_EQ(0u, written.torn);
    EXPECT_LE(written.wanted - written.whole, written.wanted / 1000);
}

// The plants: a line that lacks a piece, one that another was written into, one that is missing.
TEST(LogOfManyThreads, ATornAndALostLineWouldBeSeen)
{
    constexpr int kLines = 20;
    const test::TempFolder folder;
    const std::string bytes = WriteFromThreads(folder / L"log.txt", kLines);
    const Written good = Judge(bytes, kLines);
    ASSERT_EQ(good.wanted, good.whole);
    const std::size_t line = bytes.find("thread 3 line 000007 ");
    ASSERT_NE(std::string::npos, line);
    const std::size_t start = bytes.rfind('\n', line) + 1, end = bytes.find('\n', line) + 1;
    const std::string whole = bytes.substr(start, end - start);

    const Written torn = Judge(std::string(bytes).erase(line, 5), kLines);
    EXPECT_EQ(1u, torn.torn);
    EXPECT_EQ(good.whole - 1, torn.whole);
    const Written mixed = Judge(std::string(bytes).insert(line + 3, whole), kLines);
    EXPECT_LT(0u, mixed.torn);
    const Written lost = Judge(std::string(bytes).erase(start, whole.size()), kLines);
    EXPECT_EQ(0u, lost.torn);
    EXPECT_EQ(good.whole - 1, lost.whole);
}

// A pipe as standard output that nobody reads: whoever writes more than it holds stays in the middle of a
// line.
class FullOutput {
  public:
    FullOutput() : m_before(GetStdHandle(STD_OUTPUT_HANDLE))
    {
        EXPECT_TRUE(CreatePipe(&m_reading, &m_writing, nullptr, kRoom));
        SetStdHandle(STD_OUTPUT_HANDLE, m_writing);
    }
    FullOutput(const FullOutput&) = delete;
    FullOutput& operator=(const FullOutput&) = delete;
    ~FullOutput() { CloseHandle(m_reading); }

    // Waits until a writer is in the middle of what the pipe has no room for; false when none comes.
    bool WaitUntilFull()
    {
        DWORD waiting = 0;
        const ULONGLONG start = GetTickCount64();
        while (PeekNamedPipe(m_reading, nullptr, 0, nullptr, &waiting, nullptr) && waiting < kRoom &&
               GetTickCount64() - start < 60000)
            Sleep(1);
        return waiting >= kRoom;
    }
    void PutBackTheOther() { SetStdHandle(STD_OUTPUT_HANDLE, m_before); }
    // Reads until the writer's end is closed.
    std::size_t Drain()
    {
        std::size_t bytes = 0;
        char buffer[4096];
        DWORD read = 0;
        while (ReadFile(m_reading, buffer, sizeof(buffer), &read, nullptr) && read > 0) bytes += read;
        return bytes;
    }
    void CloseWriter() { CloseHandle(m_writing); }

  private:
    static constexpr DWORD kRoom = 4096;

    HANDLE m_before;
    HANDLE m_reading = nullptr;
    HANDLE m_writing = nullptr;
};

// The milliseconds that each line takes.
std::vector<ULONGLONG> TimesOfLines(int lines)
{
    std::vector<ULONGLONG> times;
    for (int i = 0; i < lines; ++i) {
        const ULONGLONG start = GetTickCount64();
        WriteLog("S", 1, 8, 0, "one of many");
        times.push_back(GetTickCount64() - start);
    }
    return times;
}

TEST(LogOfManyThreads, ALineThatNeverEndsHoldsTheOthersUpOnceAndNotForLong)
{
    const test::TempFolder folder;
    SetLogLevelAndPath("trace", "");
    FullOutput output;
    std::thread stuck([&] {
        WriteLog("S", 1, 8, 0, "%s", std::string(30000, 'x').c_str());
        output.CloseWriter();
    });
    EXPECT_TRUE(output.WaitUntilFull());
    output.PutBackTheOther();
    SetLogLevelAndPath("trace", test::ToNarrow(folder / L"log.txt").c_str());

    const std::vector<ULONGLONG> first = TimesOfLines(1), others = TimesOfLines(100);
    EXPECT_GE(first[0], 500u) << "nothing was stuck";
    EXPECT_LE(first[0], 30000u);
    // A line that waits takes a second. On a busy machine one or the other may take as long without waiting.
    const auto waited =
        std::count_if(others.begin(), others.end(), [](ULONGLONG time) { return time >= 900; });
    EXPECT_LE(waited, 5);
    EXPECT_EQ(101u, test::ParseLog(test::ReadWholeFile(folder / L"log.txt")).size());

    EXPECT_GT(output.Drain(), 30000u);
    stuck.join();
    SetLogLevelAndPath("trace", "");
}

}  // namespace
}  // namespace kzr
