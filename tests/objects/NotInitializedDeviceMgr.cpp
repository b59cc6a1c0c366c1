// CDeviceMgr without a backend: everything that would ask it refuses, the retry query with -1 and not with
// its code of a failed query; the unsupported methods answer what they always answer.
#include "NotInitialized.h"
#include "objects/DeviceMgr.h"

namespace kzr::test {
namespace {

Case Refuses(const std::string& name, const DirectCall& direct, const Values& arguments, const Value& retVal)
{
    return {.name = name + "Refuses",
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace("CDeviceMgr: " + name + " starting..."),
                      Error("CDeviceMgr: " + name + " kzrappcom or cache not initialized!")},
            .retVal = retVal};
}

Case Unsupported(const std::string& name, const DirectCall& direct, const Values& arguments,
                 const Value& retVal)
{
    return {.name = name + "IsUnsupportedAsEver",
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace("CDeviceMgr: " + name + " starting..."),
                      Notice("CDeviceMgr: " + name + " not support!")},
            .retVal = retVal};
}

const std::vector<Case> kRows = {
    Refuses("userLogin", Direct(&IDeviceMgr::userLogin), {L"CSP1", L"1234"}, I2(-1)),
    Refuses("userLoginEx", Direct(&IDeviceMgr::userLoginEx), {L"CSP1", L"c1", L"EXT1", L"1234"}, I2(-1)),
    Refuses("changeUserPin", Direct(&IDeviceMgr::changeUserPin), {L"CSP1", L"EXT1", L"old", L"new"}, I2(-1)),
    Refuses("changeUserPinEx", Direct(&IDeviceMgr::changeUserPinEx),
            {L"CSP1", L"c1", L"EXT1", L"old", L"new"}, I2(-1)),
    Refuses("getKeyRetrys", Direct(&IDeviceMgr::getKeyRetrys), {L"EXT1"}, I2(-1)),
    Refuses("getKeyRetrysEx", Direct(&IDeviceMgr::getKeyRetrysEx), {L"c1", L"EXT1"}, I2(-1)),
    Refuses("enumUserCertificates", Direct(&IDeviceMgr::enumUserCertificates), {L"CSP1"}, L""),
    Refuses("getKeyData", Direct(&IDeviceMgr::getKeyData), {L"EXT1", L"file"}, L""),
    Refuses("getKeyDataEx", Direct(&IDeviceMgr::getKeyDataEx), {L"c1", L"EXT1", L"file"}, L""),
    Refuses("getKeySN", Direct(&IDeviceMgr::getKeySN), {L"EXT1"}, L""),
    Refuses("getKeySNEx", Direct(&IDeviceMgr::getKeySNEx), {L"c1", L"EXT1"}, L""),
    Refuses("setKeyData", Direct(&IDeviceMgr::setKeyData), {L"EXT1", L"file", L"data"}, I2(-1)),
    Refuses("setKeyDataEx", Direct(&IDeviceMgr::setKeyDataEx), {L"c1", L"EXT1", L"file", L"data"}, I2(-1)),
    Refuses("creatKeyFile", Direct(&IDeviceMgr::creatKeyFile), {L"EXT1", L"file", I2(16)}, I2(-1)),
    Refuses("creatKeyFileEx", Direct(&IDeviceMgr::creatKeyFileEx), {L"c1", L"EXT1", L"file", I2(-1)}, I2(-1)),
    Unsupported("getOldKeyInfo", Direct(&IDeviceMgr::getOldKeyInfo), {L"c1", L"pwd", L"type", I2(1)}, L""),
    Unsupported("changeOldKeyPwd", Direct(&IDeviceMgr::changeOldKeyPwd),
                {L"c1", L"type", I2(1), L"old", L"new"}, I2(-1)),
    Unsupported("getKeySavedPass", Direct(&IDeviceMgr::getKeySavedPass), {L"SN01"}, L""),
    Unsupported("changeUserPin2", Direct(&IDeviceMgr::changeUserPin2),
                {L"CSP1", L"EXT1", L"old", L"new", L"new"}, I2(-1)),
};
KZR_NOT_INITIALIZED(DeviceMgrWithoutABackend, CDeviceMgr, "DeviceMgr", kRows);

}  // namespace
}  // namespace kzr::test
