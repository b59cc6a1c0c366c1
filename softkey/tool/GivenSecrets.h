// PINs and passwords of the command line. The parser is given a mark in their place: it copies what it reads
// to where nobody can wipe it.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "base/Bytes.h"

namespace kzr::softkey::tool {

class GivenSecrets {
  public:
    // All arguments in UTF-8, with marks.
    std::vector<std::string> TakeFrom(std::span<const wchar_t* const> arguments);

    // What was given with the option, for which the parser read `text`.
    Secret Take(const std::string& option, const std::string& text);

  private:
    std::map<std::string, Secret, std::less<>> m_values;
};

}  // namespace kzr::softkey::tool
