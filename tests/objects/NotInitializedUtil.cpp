// CUtil without a backend: the forwarding methods refuse before they look at a parameter; the user list, the
// unsupported look-up and the renaming of files never needed one.
#include "NotInitialized.h"
#include "objects/Util.h"

namespace kzr::test {
namespace {

Case Refuses(const std::string& row, const std::string& name, const DirectCall& direct,
             const Values& arguments, const Value& retVal)
{
    return {.name = row,
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace("CUtil: " + name + " starting..."),
                      Error("CUtil: " + name + " kzrappcom or cache not initialized!")},
            .retVal = retVal};
}

Case UserList(const std::string& row, const DirectCall& direct)
{
    return {.name = row,
            .direct = direct,
            .steps = {Trace("CUtil: getUserList starting..."), Trace("CUtil: getUserList return Data()..."),
                      Trace("CUtil: GetUserList ending ok...")},
            .retVal = L""};
}

const auto kEncodeString = Direct(&IUtil::base64EncodeString);
const auto kEncodeFile = Direct(&IUtil::base64EncodeFile);
const auto kDecodeString = Direct(&IUtil::base64DecodeString);
const auto kDecodeFile = Direct(&IUtil::base64DecodeFile);
const auto kUserInfo = Direct(&IUtil::getUserInfoByContainer);

const std::vector<Case> kRows = {
    Refuses("EncodingATextIsEmpty", "base64EncodeString", kEncodeString, {L"text"}, L""),
    Refuses("EncodingANullTextIsRefusedForThatReason", "base64EncodeString", kEncodeString, {NullText()},
            L""),
    Refuses("EncodingAFileIsEmpty", "base64EncodeFile", kEncodeFile, {L"path"}, L""),
    Refuses("DecodingATextIsEmpty", "base64DecodeString", kDecodeString, {L"text"}, L""),
    Refuses("DecodingToAFileIsMinusOne", "base64DecodeFile", kDecodeFile, {L"text", L"path"}, I2(-1)),
    Refuses("DecodingANullTextToAFileIsMinusOneNotAParameterError", "base64DecodeFile", kDecodeFile,
            {NullText(), L"path"}, I2(-1)),
    Refuses("AUsersInfoIsEmpty", "getUserInfoByContainer", kUserInfo, {L"c1", I2(1)}, L""),
    Refuses("AUsersInfoIsEmptyEvenForAnAnswerThatIsFixed", "getUserInfoByContainer", kUserInfo,
            {L"c1", I2(23)}, L""),
    UserList("TheUserListIsEmptyAsEver", Direct(&IUtil::getUserList)),
    UserList("TheSecondUserListIsEmptyAsEver", Direct(&IUtil::getUserList2)),
    {.name = "TheLookUpByIdentifierIsUnsupportedAsEver",
     .direct = Direct(&IUtil::GetContainerNameByUniqueId),
     .arguments = {L"c1/SN01", L"name"},
     .steps = {Trace("CUtil: GetContainerNameByUniqueId starting..."),
               Notice("CUtil: GetContainerNameByUniqueId not support!")},
     .retVal = L""},
    {.name = "RenamingIsTriedAllTheSame",
     .direct = Direct(&IUtil::RenameFile),
     .arguments = {L"C:\\kzr\\missing\\a", L"C:\\kzr\\missing\\b"},
     .steps = {Trace("CUtil: RenameFile starting..."),
               Trace("CUtil: RenameFile oldName(C:\\kzr\\missing\\a) newName(C:\\kzr\\missing\\b)..."),
               Trace("CUtil: RenameFile ending(-1)...")},
     .retVal = I2(-1)},
};
KZR_NOT_INITIALIZED(UtilWithoutABackend, CUtil, "Util", kRows);

}  // namespace
}  // namespace kzr::test
