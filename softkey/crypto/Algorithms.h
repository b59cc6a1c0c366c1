// The codes by which callers name algorithms.
#pragma once

namespace kzr::softkey {

enum class KeyType { Sm2, Rsa };

enum class HashCode : int { Sm3 = 1, Sha1 = 2, Sha256 = 4, Sha512 = 8 };

// Each together with an HMAC over header and ciphertext.
enum class CipherCode : int {
    Sm4CtrOld = 0x401,
    Sm4Cbc = 0x402,
    Sm4Ctr = 0x801,
    Aes256Ctr = 0x1001,
    Aes256Cbc = 0x1002,
};

// The user id that enters every SM2 signature.
inline constexpr char kSm2UserId[] = "1234567812345678";

}  // namespace kzr::softkey
