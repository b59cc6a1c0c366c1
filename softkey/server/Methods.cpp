#include "server/Methods.h"

#include <iterator>

namespace kzr::softkey {
namespace {

// The odd spellings are the interface's own.
constexpr Method kMethods[] = {
    {L"SetUserConfig", "nt", SetUserConfig},
    {L"SOF_GetUserList", "", GetUserList},
    {L"GetAllDeviceSN", "", GetAllDeviceSN},
    {L"GetDeviceInfo", "tn", GetDeviceInfo},
    {L"SOF_ExportUserCert", "t", ExportUserCert},
    {L"SOF_ExportExChangeUserCert", "t", ExportExChangeUserCert},
    {L"SOF_GetCertInfo", "tn", GetCertInfo},
    {L"SOF_GetCertInfoByOid", "tt", GetCertInfoByOid},
    {L"SOF_GetCertEntity", "t", GetCertEntity},
    {L"SOF_ValidateCert", "t", ValidateCert},
    {L"SOF_Login", "tt", Login},
    {L"SOF_ChangePassWd", "ttt", ChangePassWd},
    {L"SOF_GetPinRetryCount", "t", GetPinRetryCount},
    {L"SOF_SignData", "tt", SignText},
    {L"SOF_SignFile", "tt", SignTheFile},
    {L"SOF_SignMessage", "ntt", SignTheMessage},
    {L"SOF_SignDataXML", "tt", SignDataXml},
    {L"SOF_VerifySignedData", "ttt", VerifySignedData},
    {L"SOF_VerifySignedFile", "ttt", VerifySignedFile},
    {L"SOF_VerifySignedMessage", "tt", VerifySignedMessage},
    {L"SOF_VerifySignedDataXML", "t", VerifySignedDataXml},
    {L"SOF_GetInfoFromSignedMessage", "tn", GetInfoFromSignedMessage},
    {L"SOF_GetXMLSignatureInfo", "tn", GetXmlSignatureInfo},
    {L"SOF_HashData", "nt", HashData},
    {L"SOF_HashFile", "nt", HashFile},
    {L"SOF_GenRandom", "n", GenRandom},
    {L"SOF_GetEncryptMethod", "", GetEncryptMethod},
    {L"SOF_SetEncryptMethod", "n", SetEncryptMethod},
    {L"SOF_SymEncryptData", "tt", SymEncryptData},
    {L"SOF_SymDecryptData", "tt", SymDecryptData},
    {L"SOF_SymEncryptFile", "ttt", SymEncryptTheFile},
    {L"SOF_SymDecryptFile", "ttt", SymDecryptTheFile},
    {L"SOF_EncryptDataEx", "tt", EncryptDataEx},
    {L"SOF_DecryptData", "tt", DecryptData},
    {L"SOF_PubKeyEncrypt", "tt", PubKeyEncrypt},
    {L"SOF_PriKeyDecrypt", "tt", PriKeyDecrypt},
    {L"SOF_SecertSegment", "tnnn", SecertSegment},
    {L"SOF_SecertRecovery", "t", SecertRecovery},
    {L"SOF_Base64Encode", "t", EncodeText},
    {L"SOF_Base64Decode", "t", DecodeText},
    {L"Base64EncodeFile", "t", EncodeFile},
    {L"Base64DecodeFile", "tt", DecodeFile},
    {L"ReadFile", "tt", ReadKeyFile},
    {L"WriteFile", "tttn", WriteKeyFile},
};

}  // namespace

std::span<const Method> Methods() noexcept { return kMethods; }

DISPID FindMethod(const wchar_t* name) noexcept
{
    for (std::size_t i = 0; i < std::size(kMethods); ++i) {
        if (CompareStringOrdinal(name, -1, kMethods[i].name, -1, TRUE) == CSTR_EQUAL)
            return static_cast<DISPID>(i + 1);
    }
    return DISPID_UNKNOWN;
}

const Method* FindMethod(DISPID id) noexcept
{
    const bool isThere = id >= 1 && id <= static_cast<DISPID>(std::size(kMethods));
    return isThere ? &kMethods[id - 1] : nullptr;
}

}  // namespace kzr::softkey
