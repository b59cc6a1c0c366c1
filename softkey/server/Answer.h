// What a method answers: text, truth or a number.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>
#include <string_view>
#include <utility>

#include "com/Bstr.h"
#include "server/WideText.h"

namespace kzr::softkey {

class Answer {
  public:
    // Throws Failure(BadData) for what is not UTF-8.
    static Answer Text(std::string_view utf8) { return Answer(WideOf(utf8)); }
    static Answer Truth(bool value) noexcept { return Answer(VT_BOOL, value ? VARIANT_TRUE : VARIANT_FALSE); }
    static Answer Number(int value) noexcept { return Answer(VT_I4, value); }

    // Hands the value over; `result` counts as uninitialised, as automation has it.
    void MoveTo(VARIANT& result) noexcept
    {
        VariantInit(&result);
        result.vt = m_type;
        if (m_type == VT_BSTR)
            result.bstrVal = m_text.Detach();
        else if (m_type == VT_BOOL)
            result.boolVal = static_cast<VARIANT_BOOL>(m_number);
        else
            result.lVal = m_number;
    }

  private:
    explicit Answer(Bstr text) noexcept : m_text(std::move(text)) {}
    Answer(VARTYPE type, int number) noexcept : m_type(type), m_number(number) {}

    VARTYPE m_type = VT_BSTR;
    int m_number = 0;
    Bstr m_text;
};

}  // namespace kzr::softkey
