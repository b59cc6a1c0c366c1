// What pages configured for certificate checks: a chain and a revocation list, for the whole process.
#pragma once

#include <string>

#include "x509/Validation.h"

namespace kzr::softkey {

class UserConfig {
  public:
    // Each replaces what was set before. False, and nothing changes, for what cannot be read.
    static bool SetChain(const std::string& text);
    static bool SetRevocationList(const std::string& text);

    // Adds them to what the administrator trusts. A chain makes nothing trusted by itself: a page could bring
    // any root.
    static void AddTo(TrustStore& trust);

    static void Forget() noexcept;
};

}  // namespace kzr::softkey
