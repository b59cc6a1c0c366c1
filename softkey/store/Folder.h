// Folders of the store: listing, making, moving and removing them. Paths are UTF-8, absolute, with '\'.
#pragma once

#include <string>
#include <vector>

namespace kzr::softkey {

// The whole path of a folder that may be named relatively. Throws Failure(BadArgument).
std::string AbsolutePath(const std::string& path);

// "" when the variable is not set.
std::string EnvironmentText(const wchar_t* name);

// As the platform takes it, however long it is.
std::wstring PlatformPath(const std::string& path);

bool FolderExists(const std::string& path);
// With the folders above it. Throws Failure(File).
void MakeFolder(const std::string& path);

// Names in a folder, sorted; none when there is no such folder. Links to elsewhere count as neither.
std::vector<std::string> FoldersIn(const std::string& path);
std::vector<std::string> FilesIn(const std::string& path);

// 0 for a file that is not there.
std::size_t FileSize(const std::string& path);

// In one step, onto a name that is free. Waits a moment for somebody who has a file in it open. Throws
// Failure(File).
void MoveFolder(const std::string& from, const std::string& to);
// With all that is in it; never follows a link. Throws Failure(File) when something stays.
void RemoveFolder(const std::string& path);
// False when there is no such file; throws Failure(File).
bool RemoveFile(const std::string& path);

// Removes temporary files that a crash left in this folder.
void RemoveTemporaries(const std::string& path);

}  // namespace kzr::softkey
