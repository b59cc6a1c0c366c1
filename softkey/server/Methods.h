// The 44 methods: one table of names, numbers and argument kinds, and the way from a call to its handler.
#pragma once

#include <atomic>
#include <span>
#include <string_view>

#include "crypto/Algorithms.h"
#include "server/Answer.h"
#include "server/Arguments.h"

namespace kzr::softkey {

// What a control remembers from one call to the next.
struct ControlState {
    std::atomic<int> encryptMethod{static_cast<int>(CipherCode::Sm4Cbc)};
};

using Handler = Answer (*)(const Arguments& arguments, ControlState& state);

struct Method {
    const wchar_t* name;
    const char* kinds;  // a letter per argument: t for text, n for a number
    Handler handler;
};

// A method's DISPID is its place in the table, from 1.
std::span<const Method> Methods() noexcept;

// Letter case does not count; DISPID_UNKNOWN when there is no such method.
DISPID FindMethod(const wchar_t* name) noexcept;
const Method* FindMethod(DISPID id) noexcept;

// Keys, users, PINs and data files (KeyMethods.cpp).
Answer GetUserList(const Arguments&, ControlState&);
Answer GetAllDeviceSN(const Arguments&, ControlState&);
Answer GetDeviceInfo(const Arguments& arguments, ControlState&);
Answer Login(const Arguments& arguments, ControlState&);
Answer ChangePassWd(const Arguments& arguments, ControlState&);
Answer GetPinRetryCount(const Arguments& arguments, ControlState&);
Answer ReadKeyFile(const Arguments& arguments, ControlState&);
Answer WriteKeyFile(const Arguments& arguments, ControlState&);

// Certificates (CertificateMethods.cpp).
Answer SetUserConfig(const Arguments& arguments, ControlState&);
Answer ExportUserCert(const Arguments& arguments, ControlState&);
Answer ExportExChangeUserCert(const Arguments& arguments, ControlState&);
Answer GetCertInfo(const Arguments& arguments, ControlState&);
Answer GetCertInfoByOid(const Arguments& arguments, ControlState&);
Answer GetCertEntity(const Arguments& arguments, ControlState&);
Answer ValidateCert(const Arguments& arguments, ControlState&);

// Signatures (SignatureMethods.cpp).
Answer SignText(const Arguments& arguments, ControlState&);
Answer SignTheFile(const Arguments& arguments, ControlState&);
Answer SignTheMessage(const Arguments& arguments, ControlState&);
Answer SignDataXml(const Arguments& arguments, ControlState&);
Answer VerifySignedData(const Arguments& arguments, ControlState&);
Answer VerifySignedFile(const Arguments& arguments, ControlState&);
Answer VerifySignedMessage(const Arguments& arguments, ControlState&);
Answer VerifySignedDataXml(const Arguments& arguments, ControlState&);
Answer GetInfoFromSignedMessage(const Arguments& arguments, ControlState&);
Answer GetXmlSignatureInfo(const Arguments& arguments, ControlState&);

// Encryption and secret sharing (EncryptionMethods.cpp).
Answer GetEncryptMethod(const Arguments&, ControlState& state);
Answer SetEncryptMethod(const Arguments& arguments, ControlState& state);
Answer SymEncryptData(const Arguments& arguments, ControlState& state);
Answer SymDecryptData(const Arguments& arguments, ControlState&);
Answer SymEncryptTheFile(const Arguments& arguments, ControlState& state);
Answer SymDecryptTheFile(const Arguments& arguments, ControlState&);
Answer EncryptDataEx(const Arguments& arguments, ControlState&);
Answer DecryptData(const Arguments& arguments, ControlState&);
Answer PubKeyEncrypt(const Arguments& arguments, ControlState&);
Answer PriKeyDecrypt(const Arguments& arguments, ControlState&);
Answer SecertSegment(const Arguments& arguments, ControlState&);
Answer SecertRecovery(const Arguments& arguments, ControlState&);

// Digests, random data and Base64 (DataMethods.cpp).
Answer HashData(const Arguments& arguments, ControlState&);
Answer HashFile(const Arguments& arguments, ControlState&);
Answer GenRandom(const Arguments& arguments, ControlState&);
Answer EncodeText(const Arguments& arguments, ControlState&);
Answer DecodeText(const Arguments& arguments, ControlState&);
Answer EncodeFile(const Arguments& arguments, ControlState&);
Answer DecodeFile(const Arguments& arguments, ControlState&);

}  // namespace kzr::softkey
