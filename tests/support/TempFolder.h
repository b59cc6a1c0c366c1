// A new, empty folder for one test, removed with what is in it.
#pragma once

#include <windows.h>

#include <string>

namespace kzr::test {

class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // With a "\" at its end.
    const std::wstring& Path() const { return m_path; }
    std::wstring operator/(const wchar_t* name) const { return m_path + name; }

  private:
    std::wstring m_path;
};

// For paths of plain ASCII.
std::string ToNarrow(const std::wstring& path);

}  // namespace kzr::test
