// The log file of this process, read back as records. Written from the log's description, not from its code.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kzr::test {

struct LogRecord {
    std::string time;   // "2024-03-05 09:07:01.042"
    std::string level;  // "trace"
    long thread = 0;
    std::string source;  // "AxKzrApp"; empty with line 0 when the line names none
    long line = 0;
    unsigned status = 0;
    std::string message;  // CR LF read back as LF
    bool lost = false;    // the message did not fit: only the prefix was written
    std::string raw;      // the record's own bytes, with its CR LF
};

// Splits a log's bytes. What follows a line break without looking like a record's start belongs to the
// message before it; bytes before the first record come back as a record with an empty level.
std::vector<LogRecord> ParseLog(std::string_view bytes);

// "[error] Crypto status(80004005) text"
std::string Describe(const LogRecord& record);
inline void PrintTo(const LogRecord& record, std::ostream* out) { *out << Describe(record); }

// Where a program of this name and number writes its log, by the rules of the log's path; empty when the
// shell names no folder.
std::wstring LogPathOf(std::wstring_view program, unsigned long processId);

class LogReader {
  public:
    // Makes the log's folder, which is the log's only switch, and starts at the end of what is there.
    LogReader();

    // The records since the last call.
    std::vector<LogRecord> Take();
    // The bytes since the last call.
    std::string TakeBytes();
    const std::wstring& Path() const { return m_path; }

  private:
    std::wstring m_path;
    std::size_t m_offset = 0;
};

// All bytes of a file; empty when it cannot be opened.
std::string ReadWholeFile(const std::wstring& path, std::size_t from = 0);

}  // namespace kzr::test
