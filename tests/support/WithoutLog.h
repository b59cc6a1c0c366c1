// For as long as it lives, no log file can be opened: a folder stands in its place. The lines go to standard
// output instead, which is kept as proof and keeps them out of the test's own output.
#pragma once

#include <windows.h>

#include <string>

namespace kzr::test {

class WithoutLog {
  public:
    explicit WithoutLog(const std::wstring& logPath);
    ~WithoutLog();
    WithoutLog(const WithoutLog&) = delete;
    WithoutLog& operator=(const WithoutLog&) = delete;

    // Whether lines have come that did not find the file.
    bool HasTurnedLinesAway() const;

  private:
    const std::wstring m_path;
    const std::wstring m_aside;
    const std::wstring m_outputPath;
    HANDLE m_outputOfBefore;
    HANDLE m_output;
};

}  // namespace kzr::test
