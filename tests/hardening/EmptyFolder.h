// An empty folder to work in: one of the methods renames files, and no name that a test invents may be there.
#pragma once

#include <windows.h>

#include "support/TempFolder.h"

namespace kzr::test {

class EmptyFolder {
  public:
    EmptyFolder()
    {
        GetCurrentDirectoryW(MAX_PATH, m_before);
        SetCurrentDirectoryW(m_folder.Path().c_str());
    }
    EmptyFolder(const EmptyFolder&) = delete;
    EmptyFolder& operator=(const EmptyFolder&) = delete;
    ~EmptyFolder() { SetCurrentDirectoryW(m_before); }

  private:
    TempFolder m_folder;
    wchar_t m_before[MAX_PATH] = {};
};

}  // namespace kzr::test
