// Runs a part of a test in a process of its own: this very program, told which part.
//
//     KZR_CHILD(WritesOneLine) { ...; return 0; }
//     const ChildResult ended = RunChild("WritesOneLine");
#pragma once

#include <windows.h>

#include <string>

namespace kzr::test {

struct ChildResult {
    bool started = false;
    DWORD code = ~0u;
    DWORD processId = 0;
    std::string output;  // its standard output, byte for byte
};

// `program`: another file than this one, to run under another name.
ChildResult RunChild(const std::string& part, const std::wstring& program = L"", DWORD milliseconds = 120000);

// Any program with these arguments, as they stand on a command line.
ChildResult RunProgram(const std::wstring& program, const std::wstring& arguments,
                       DWORD milliseconds = 120000);

// Runs the part that the command line asks for, if any; answers whether one was.
bool RanAsChild(int argc, char** argv, int& code);

bool RegisterChild(const char* name, int (*part)());

}  // namespace kzr::test

#define KZR_CHILD(name)                                     \
    static int name##AsChild();                             \
    [[maybe_unused]] static const bool name##IsRegistered = \
        ::kzr::test::RegisterChild(#name, name##AsChild);   \
    static int name##AsChild()
