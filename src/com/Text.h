// The two conversions between automation strings and the narrow text in which the log and the user list
// travel.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <string_view>

#include "com/Bstr.h"

namespace kzr {

// Wide to the system's ANSI code page (CP_ACP), by the string's own length, so that embedded nulls are kept
// and a null or empty string gives "". What the page cannot express becomes its default character. A
// conversion whose two passes disagree about the length gives "".
std::string BstrToString(BSTR wide);
std::string BstrToString(std::wstring_view wide);
// The same behind what is there already.
void AppendAnsi(std::string& narrow, std::wstring_view wide);

// Narrow to wide by the calling thread's ANSI code page (CP_THREAD_ACP), up to the first null character.
std::wstring StringToWide(const char* narrow);
// The same by the system's page, in which the platform's narrow functions speak, whatever the thread's is.
std::wstring SystemTextToWide(const char* narrow);
inline std::wstring StringToWide(const std::string& narrow) { return StringToWide(narrow.c_str()); }

// Only the letters A to Z change.
std::wstring LowerAscii(std::wstring text);

}  // namespace kzr
