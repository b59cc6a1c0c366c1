#include "support/WithoutLog.h"

#include <gtest/gtest.h>

namespace kzr::test {

WithoutLog::WithoutLog(const std::wstring& logPath)
    : m_path(logPath),
      m_aside(logPath + L".aside"),
      m_outputPath(logPath + L".output"),
      m_outputOfBefore(GetStdHandle(STD_OUTPUT_HANDLE)),
      m_output(CreateFileW(m_outputPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                           CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr))
{
    MoveFileExW(m_path.c_str(), m_aside.c_str(), MOVEFILE_REPLACE_EXISTING);
    EXPECT_TRUE(CreateDirectoryW(m_path.c_str(), nullptr)) << GetLastError();
    EXPECT_NE(INVALID_HANDLE_VALUE, m_output);
    SetStdHandle(STD_OUTPUT_HANDLE, m_output);
}

WithoutLog::~WithoutLog()
{
    SetStdHandle(STD_OUTPUT_HANDLE, m_outputOfBefore);
    CloseHandle(m_output);
    EXPECT_TRUE(RemoveDirectoryW(m_path.c_str())) << GetLastError();
    MoveFileExW(m_aside.c_str(), m_path.c_str(), 0);
}

bool WithoutLog::HasTurnedLinesAway() const
{
    LARGE_INTEGER size{};
    return GetFileSizeEx(m_output, &size) && size.QuadPart > 0;
}

}  // namespace kzr::test
