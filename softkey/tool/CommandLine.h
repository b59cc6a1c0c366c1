// The command line: which command it names, and its options.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Commands.h"

namespace kzr::softkey::tool {

struct CommandLine {
    Options options;
    std::function<Report(const Options&)> command;  // none when help or a complaint was printed
    int exitCode = 0;                               // then
};

// `arguments` in UTF-8, without the program's name.
CommandLine ReadCommandLine(std::vector<std::string> arguments);

}  // namespace kzr::softkey::tool
