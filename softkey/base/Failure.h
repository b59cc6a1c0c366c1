// The one exception of the software key: a cause, which the COM server turns into an HRESULT of its own and
// the tool into an exit code, and a sentence for a person.
#pragma once

#include <stdexcept>
#include <string>

namespace kzr::softkey {

enum class Cause {
    UnknownKey,        // no plugged key has this serial number
    UnknownContainer,  // no plugged key has this container, or it lacks the pair asked for
    NotLoggedIn,
    Locked,       // the PIN has no tries left
    BadArgument,  // the caller's value is outside what the method takes
    BadData,  // a certificate, message, file or document that cannot be read, or whose check value is wrong
    Crypto,   // the cryptographic library refused
    File,     // reading or writing a file failed
    Unsupported,  // an algorithm or code that this key does not have
};

class Failure : public std::runtime_error {
  public:
    Failure(Cause cause, const std::string& text) : std::runtime_error(text), m_cause(cause) {}
    Cause Why() const noexcept { return m_cause; }

  private:
    Cause m_cause;
};

}  // namespace kzr::softkey
