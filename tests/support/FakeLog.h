// The fake log libraries: put one beside a program or the DLL, and read what it has noted.
#pragma once

#include <string>

namespace kzr::test {

// Copies the fake of that name ("Whole", "Faulting", "WithoutLogOutputW", ...) into a folder (with its "\")
// under the name that the component looks for.
void PutFakeLogLibrary(const char* fake, const std::wstring& folder);

// The notes of the loaded one, a line each; "" when none is loaded.
std::string FakeLogNotes();
bool IsFakeLogLoaded();

}  // namespace kzr::test
