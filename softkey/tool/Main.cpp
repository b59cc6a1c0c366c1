// softkey: runs one command and prints what it answers, or why it failed.
#include <windows.h>

#include <string>

#include "CommandLine.h"
#include "ExitCodes.h"

namespace {

// A message may carry bytes of a file that are no text.
std::string Text(const kzr::softkey::tool::Json& json)
{
    return json.dump(2, ' ', false, kzr::softkey::tool::Json::error_handler_t::replace) + "\n";
}

}  // namespace

int wmain(int argc, wchar_t** argv)
{
    using namespace kzr::softkey;
    using namespace kzr::softkey::tool;
    const CommandLine line = ReadCommandLine({argv + 1, argv + (argc > 0 ? argc : 1)});
    if (!line.command) return line.exitCode;
    try {
        const Report report = line.command(line.options);
        Print(line.options.json ? Text(report.json) : report.text);
        return kDone;
    } catch (const std::exception& error) {
        const ExitCode code = ExitCodeOf(error);
        if (line.options.json)
            Print(Text({{"error", {{"code", static_cast<int>(code)}, {"message", error.what()}}}}));
        PrintError(std::string("softkey: ") + error.what() + "\n");
        return code;
    }
}
