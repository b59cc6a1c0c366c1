// Wiping of secrets.
#include "base/Bytes.h"

#include <openssl/crypto.h>

namespace kzr::softkey {

void Wipe(void* data, std::size_t size) noexcept { OPENSSL_cleanse(data, size); }

}  // namespace kzr::softkey
