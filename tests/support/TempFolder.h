// A new, empty folder for one test, removed with what is in it. What cannot be removed then, such as a
// library that is still loaded, and what a process left that came to no end, is removed by the first folder
// of the next process.
#pragma once

#include <windows.h>

#include <string>

namespace kzr::test {

class TempFolder {
  public:
    // Throws when there can be none.
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // With a "\" at its end.
    const std::wstring& Path() const { return m_path; }
    std::wstring operator/(const wchar_t* name) const { return m_path + name; }

  private:
    const std::wstring m_path;
};

// Makes the folder, which ends in "\", and those that it is in.
void MakeFolders(const std::wstring& folder);

// For paths of plain ASCII.
std::string ToNarrow(const std::wstring& path);

}  // namespace kzr::test
