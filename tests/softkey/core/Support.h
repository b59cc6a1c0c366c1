// What the tests of the portable rooms share: causes of failures, a folder for a test's files, changed and
// cut bytes, and key pairs with certificates that are made once.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>

#include "base/Failure.h"
#include "x509/Certificate.h"

namespace kzr::softkey {

// So that a failed comparison says more than a number.
inline void PrintTo(Cause cause, std::ostream* out)
{
    constexpr const char* kNames[] = {"UnknownKey",  "UnknownContainer", "NotLoggedIn", "Locked",
                                      "BadArgument", "BadData",          "Crypto",      "File",
                                      "Unsupported"};
    *out << kNames[static_cast<int>(cause)];
}

}  // namespace kzr::softkey

namespace kzr::softkey::test {

// Without a value when nothing was thrown. Whatever was, the library's error queue has to be empty.
std::optional<Cause> CauseOf(const std::function<void()>& action);

Bytes BytesOf(std::string_view text);
template <typename Sequence>
std::string StringOf(const Sequence& bytes)
{
    return std::string(bytes.begin(), bytes.end());
}
Bytes Unhex(std::string_view digits);
Bytes Changed(Bytes bytes, std::size_t at, std::uint8_t mask = 0x01);
Bytes Cut(const Bytes& bytes, std::size_t size);
// The same for the same seed.
Bytes Noise(std::size_t size, unsigned seed = 1);

// A new, empty folder, removed with what is in it.
class Scratch {
  public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    // UTF-8, as the software key takes it.
    std::string operator/(std::string_view name) const;
    // Sorted.
    std::vector<std::string> Names() const;

  private:
    std::filesystem::path m_path;
};

// A key pair and its self-signed certificate. Two of each kind exist.
struct Identity {
    KeyHandle key;
    Certificate certificate;
};
const Identity& Own(KeyType type);
const Identity& Other(KeyType type);

}  // namespace kzr::softkey::test
