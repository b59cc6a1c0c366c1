// The arguments of one call, read out of the VARIANTs that a client passed. Those may be of any type and
// point anywhere.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"

namespace kzr::softkey {

class Arguments {
  public:
    // `kinds` has one letter per argument, first to last: t for text, n for a number. A value of another
    // type, and one that cannot be read, throws ComError(DISP_E_TYPEMISMATCH) and is named in `wrong` by its
    // place in the array.
    Arguments(const DISPPARAMS& parameters, std::string_view kinds, UINT& wrong);
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    // First argument first.
    const std::string& Text(std::size_t index) const { return m_values[index].text; }
    View Data(std::size_t index) const { return ViewOf(m_values[index].text); }
    // A text that names a file or the like: throws Failure(BadArgument) for an empty one or one with a null
    // character.
    const std::string& Name(std::size_t index) const;
    int Number(std::size_t index) const { return m_values[index].number; }

  private:
    struct Value {
        std::string text;
        int number = 0;
        // PINs and keys are among them.
        ~Value() { Wipe(text.data(), text.size()); }
    };
    std::vector<Value> m_values;
};

}  // namespace kzr::softkey
