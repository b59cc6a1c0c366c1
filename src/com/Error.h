// The one exception type of the component's own failures: an HRESULT on its way to a guard.
#pragma once

#include <windows.h>

#include <exception>

namespace kzr {

class ComError : public std::exception {
  public:
    explicit ComError(HRESULT result) noexcept : m_result(result) {}
    const char* what() const noexcept override { return "COM error"; }
    HRESULT Result() const noexcept { return m_result; }

  private:
    HRESULT m_result;
};

// One function for all who fail, instead of a throw in each.
[[noreturn]] void Fail(HRESULT result);

}  // namespace kzr
