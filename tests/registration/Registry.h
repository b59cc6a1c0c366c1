// The registry as the tests look at it: a snapshot as text, the difference of two, and small helpers.
#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "com/Handles.h"

namespace kzr::test {

// Every key under its path, and every value under its key's path, "|" and its name; the data as text. Paths
// are in small letters, since the registry does not tell letter cases apart.
using Snapshot = std::map<std::wstring, std::wstring>;

inline constexpr wchar_t kClassesPath[] = L"Software\\Classes";

// All that stands under a key; an absent key gives nothing.
Snapshot SnapshotOf(HKEY root, const std::wstring& path);

// One line per entry that is in one only or differs; empty when the two are equal.
std::string Difference(const Snapshot& expected, const Snapshot& actual);

std::wstring Lower(std::wstring text);
std::string Utf8(const std::wstring& text);

// The text of a REG_SZ value; "<none>" when there is no such value.
std::wstring TextValue(const std::wstring& key, const wchar_t* name);
bool KeyExists(const std::wstring& key);
void WriteText(const std::wstring& key, const wchar_t* name, const std::wstring& text);

// Makes a key in which nobody can make a lasting key: a volatile key takes volatile ones only. Works for
// every account, whatever the rights.
UniqueHkey MakeVolatileKey(HKEY root, const std::wstring& path);

}  // namespace kzr::test
