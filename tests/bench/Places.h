// Where a run finds the component and its companions, and where the component's log goes.
#pragma once

#include <string>
#include <vector>

namespace kzr::bench {

// The folder that the program was started with.
void SetFolder(const std::wstring& folder);
std::wstring InFolder(const std::wstring& name);
// The component with a log library that drops everything, and the component alone.
std::wstring Quiet();
std::wstring Plain();

std::wstring LogFolder();
std::wstring LogFile();
// Of the files of this program's earlier processes, too.
void EmptyLogFolder();
std::vector<std::string> LinesOf(const std::wstring& path);

}  // namespace kzr::bench
