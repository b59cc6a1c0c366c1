// How the tool ends. Scripts rely on the numbers.
#pragma once

#include <stdexcept>
#include <string>

#include "base/Failure.h"

namespace kzr::softkey::tool {

enum ExitCode {
    kDone = 0,
    kFailed = 1,        // a file, the registry or the cryptographic library
    kUsage = 2,         // the command line, or a value in it
    kUnknown = 3,       // no such key or container
    kPin = 4,           // the PIN is wrong, or locked
    kExists = 5,        // it is there already and was left alone
    kHeld = 6,          // another server holds the backend's class
    kUnreadable = 7,    // what was read is not what it should be, or its password is wrong
    kNotConfirmed = 8,  // the question was not answered with yes
};

class ToolError : public std::runtime_error {
  public:
    ToolError(ExitCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ExitCode Code() const noexcept { return m_code; }

  private:
    ExitCode m_code;
};

ExitCode ExitCodeOf(const std::exception& error);

}  // namespace kzr::softkey::tool
