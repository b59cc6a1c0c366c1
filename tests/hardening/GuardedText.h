// A BSTR whose end touches a page that may not be looked at: whoever reads one character too many faults.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string_view>

namespace kzr::test {

class GuardedText {
  public:
    // With its null at the end, as every BSTR has one.
    explicit GuardedText(std::wstring_view text);
    ~GuardedText();
    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;

    // Never to be freed or changed by whoever is given it.
    BSTR Get() const { return m_text; }
    // Whether nobody wrote to it.
    bool IsUntouched(std::wstring_view text) const;

  private:
    char* m_memory = nullptr;
    BSTR m_text = nullptr;
};

}  // namespace kzr::test
