// The command line: which command it names, and its options.
#pragma once

#include <functional>
#include <span>

#include "Commands.h"

namespace kzr::softkey::tool {

struct CommandLine {
    Options options;
    std::function<Report(const Options&)> command;  // none when help or a complaint was printed
    int exitCode = 0;                               // then
};

// Without the program's name.
CommandLine ReadCommandLine(std::span<const wchar_t* const> arguments);

}  // namespace kzr::softkey::tool
