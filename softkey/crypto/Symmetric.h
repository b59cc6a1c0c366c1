// Symmetric encryption under a key made from text: PBKDF2, a header with code, salt and IV, encrypt then MAC.
#pragma once

#include "base/Bytes.h"
#include "crypto/Algorithms.h"

namespace kzr::softkey {

// Throws Failure(Unsupported) for a code that is none of CipherCode.
CipherCode CipherCodeOf(int code);

Bytes SymEncrypt(CipherCode code, View keyText, View data);

// The check value is proved before any output exists; a wrong key or a changed byte throws Failure(BadData).
// The code comes from the header.
Secret SymDecrypt(View keyText, View data);

// The output appears whole, through a temporary file and a rename, or not at all.
void SymEncryptFile(CipherCode code, View keyText, const std::string& in, const std::string& out);
void SymDecryptFile(View keyText, const std::string& in, const std::string& out);

}  // namespace kzr::softkey
