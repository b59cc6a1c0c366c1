// Every scripted method as the interface's description gives it: number, name, parameters, result. Written
// from that description, never from the type library that it judges.
#include "component/TypeInfoTable.h"

#include <oaidl.h>

namespace kzr::test {
namespace {

const std::vector<ScriptedMethod> kCertificateMethods = {
    {1, L"importCert", {{L"sCertSrc", VT_BSTR}, {L"SrcType", VT_I2}, {L"sPwd", VT_BSTR, true}}, VT_I2},
    {2, L"exportCert", {{L"DstType", VT_I2}, {L"sCertPath", VT_BSTR, true}}, VT_BSTR},
    {3, L"getBasicCertInfoByOID", {{L"OID", VT_I2}}, VT_BSTR},
    {4, L"checkValidaty", {{L"sDate", VT_BSTR, true}}, VT_I2},
    {5, L"getExtCertInfoByOID", {{L"sOID", VT_BSTR}}, VT_BSTR},
    {6, L"validateCert", {{L"sCertChain", VT_BSTR}, {L"sCRL", VT_BSTR, true}}, VT_I2},
    {7, L"modifyPFXPwd", {{L"sPFXPath", VT_BSTR}, {L"sOldPwd", VT_BSTR}, {L"sNewPwd", VT_BSTR}}, VT_I2},
    {8,
     L"modifyPFXPwd2",
     {{L"sPFXPath", VT_BSTR}, {L"sOldPwd", VT_BSTR}, {L"sNewPwd1", VT_BSTR}, {L"sNewPwd2", VT_BSTR}},
     VT_I2},
    {9, L"SavePFXToCBIEx", {{L"sCBIFilePath", VT_BSTR}, {L"type", VT_I4}, {L"sContainName", VT_BSTR}}, VT_I4},
    {10, L"ParseCBIToPFXEx", {{L"sCBIFilePath", VT_BSTR}}, VT_BSTR},
    {11, L"ClearConfig", {{L"username", VT_BSTR}}, VT_I4},
};

const std::vector<ScriptedMethod> kCryptoMethods = {
    {1,
     L"setUserCfg",
     {{L"CfgFlag", VT_I2},
      {L"sCfgValue", VT_BSTR},
      {L"sExt1CfgValue", VT_BSTR, true},
      {L"sExt2CfgValue", VT_BSTR, true}},
     VT_I2},
    {2, L"setAlgFlag", {{L"AlgType", VT_I2}, {L"AlgFlag", VT_I2}}, VT_I2},
    {3, L"signedDataByP7", {{L"sInData", VT_BSTR}, {L"sContainerName", VT_BSTR, true}}, VT_BSTR},
    {4, L"verifySignedDataByP7", {{L"sInData", VT_BSTR}}, VT_I2},
    {5, L"signedData", {{L"sInData", VT_BSTR}, {L"sContainerName", VT_BSTR, true}}, VT_BSTR},
    {6, L"verifySignedData", {{L"sInData", VT_BSTR}, {L"sCert", VT_BSTR}, {L"sOriData", VT_BSTR}}, VT_I2},
    {7, L"generateRandom", {{L"RandomLen", VT_I2}}, VT_BSTR},
    {8,
     L"envelopedData",
     {{L"sInData", VT_BSTR}, {L"flag", VT_I2}, {L"sContainerName", VT_BSTR, true}},
     VT_BSTR},
    {9, L"authUser", {{L"sInData", VT_BSTR}, {L"sContainerName", VT_BSTR, true}}, VT_BSTR},
    {10, L"checkUser", {{L"sInData", VT_BSTR}, {L"sCert", VT_BSTR}, {L"sOriData", VT_BSTR}}, VT_I2},
    {11, L"decodeP7Data", {{L"sInData", VT_BSTR}, {L"type", VT_I2}}, VT_BSTR},
    {12, L"encryptFile", {{L"sInFileName", VT_BSTR}, {L"sOutFileName", VT_BSTR}, {L"sKey", VT_BSTR}}, VT_I2},
    {13, L"decryptFile", {{L"sInFileName", VT_BSTR}, {L"sOutFileName", VT_BSTR}, {L"sKey", VT_BSTR}}, VT_I2},
    {14,
     L"setOnceCfg",
     {{L"CfgFlag", VT_I2},
      {L"sCfgValue", VT_BSTR},
      {L"sExt1CfgValue", VT_BSTR, true},
      {L"sExt2CfgValue", VT_BSTR, true}},
     VT_I2},
    {15,
     L"ReadPfxToQmr",
     {{L"sContainerName", VT_BSTR}, {L"KeyUsage", VT_I2}, {L"sPassword", VT_BSTR}, {L"sPfxFile", VT_BSTR}},
     VT_I2},
    {16, L"Hash", {{L"sInData", VT_BSTR}}, VT_BSTR},
    {17, L"signFile", {{L"sFileName", VT_BSTR}, {L"sContainerName", VT_BSTR}}, VT_BSTR},
    {18, L"verifySignFile", {{L"sFileName", VT_BSTR}, {L"sCert", VT_BSTR}, {L"SignData", VT_BSTR}}, VT_I2},
    {19, L"signedDataXML", {{L"sInDataXML", VT_BSTR}, {L"sContainnerName", VT_BSTR}}, VT_BSTR},
    {20, L"verifySignedDataXML", {{L"sInDataXML", VT_BSTR}}, VT_I4},
    {21, L"getXMLSignatureInfo", {{L"sInDataXML", VT_BSTR}, {L"type", VT_I4}}, VT_BSTR},
    {22, L"EncStr", {{L"sKey", VT_BSTR}, {L"instr", VT_BSTR}}, VT_BSTR},
    {23, L"DecStr", {{L"sKey", VT_BSTR}, {L"instr", VT_BSTR}}, VT_BSTR},
    {24, L"SetSessionKey", {{L"sKey", VT_BSTR}, {L"sContainerName", VT_BSTR}}, VT_I4},
    {25, L"GetSessionKey", {{L"sContainerName", VT_BSTR}}, VT_BSTR},
    {27, L"SetPinFlag", {{L"flag", VT_I4}}, VT_I4},
    {28, L"SecertSegment", {{L"Secert", VT_BSTR}, {L"n", VT_I4}, {L"d", VT_I4}, {L"Mustn", VT_I4}}, VT_BSTR},
    {29, L"SecertRecovery", {{L"sInData", VT_BSTR}}, VT_BSTR},
    {30, L"EncDataByCert", {{L"sCert", VT_BSTR}, {L"src", VT_BSTR}}, VT_BSTR},
    {31, L"DecDataByRSA", {{L"sContainerName", VT_BSTR}, {L"EncStr", VT_BSTR}}, VT_BSTR},
    {32, L"encryptData", {{L"sKey", VT_BSTR}, {L"inData", VT_BSTR}}, VT_BSTR},
    {33, L"decryptData", {{L"sKey", VT_BSTR}, {L"inData", VT_BSTR}}, VT_BSTR},
    {34, L"pubKeyEncrypt", {{L"Cert", VT_BSTR}, {L"inData", VT_BSTR}}, VT_BSTR},
    {35, L"priKeyDecrypt", {{L"sContainerName", VT_BSTR}, {L"inData", VT_BSTR}}, VT_BSTR},
    {36, L"HashData", {{L"inData", VT_BSTR}}, VT_BSTR},
    {37, L"GenTSReq", {{L"HashValue", VT_BSTR}}, VT_BSTR},
    {38, L"EncData", {{L"sKey", VT_BSTR}, {L"sInData", VT_BSTR}}, VT_BSTR},
    {39, L"DecData", {{L"sKey", VT_BSTR}, {L"sInData", VT_BSTR}}, VT_BSTR},
    {40, L"HashFile", {{L"sInFile", VT_BSTR}}, VT_BSTR},
    {41,
     L"setUserCfgEx",
     {{L"CfgFlag", VT_I2},
      {L"sCfgValue", VT_BSTR},
      {L"sExt1CfgValue", VT_BSTR},
      {L"sExt2CfgValue", VT_BSTR},
      {L"sContainerName", VT_BSTR}},
     VT_I2},
};

const std::vector<ScriptedMethod> kDeviceMgrMethods = {
    {1, L"userLogin", {{L"sCSPName", VT_BSTR}, {L"sUserPin", VT_BSTR}}, VT_I2},
    {2,
     L"changeUserPin",
     {{L"sCSPName", VT_BSTR}, {L"sExtLib", VT_BSTR}, {L"sOldPin", VT_BSTR}, {L"sNewPin", VT_BSTR}},
     VT_I2},
    {3, L"enumUserCertificates", {{L"sCSPName", VT_BSTR}}, VT_BSTR},
    {4, L"getKeyRetrys", {{L"sExtLib", VT_BSTR}}, VT_I2},
    {5,
     L"getOldKeyInfo",
     {{L"sContainerName", VT_BSTR}, {L"sPwd", VT_BSTR}, {L"sDeviceType", VT_BSTR}, {L"TypeID", VT_I2}},
     VT_BSTR},
    {6,
     L"changeOldKeyPwd",
     {{L"sContainerName", VT_BSTR},
      {L"sDeviceType", VT_BSTR},
      {L"Port", VT_I2},
      {L"sOldPwd", VT_BSTR},
      {L"sNewPwd", VT_BSTR}},
     VT_I2},
    {7, L"getKeyData", {{L"sExtLib", VT_BSTR}, {L"sKeyFile", VT_BSTR}}, VT_BSTR},
    {8, L"getKeySN", {{L"sExtLib", VT_BSTR}}, VT_BSTR},
    {9, L"getKeySavedPass", {{L"keySN", VT_BSTR}}, VT_BSTR},
    {10, L"setKeyData", {{L"sExtLib", VT_BSTR}, {L"sKeyFile", VT_BSTR}, {L"sData", VT_BSTR}}, VT_I2},
    {11, L"creatKeyFile", {{L"sExtLib", VT_BSTR}, {L"sKeyFile", VT_BSTR}, {L"nMaxLen", VT_I2}}, VT_I2},
    {12,
     L"changeUserPin2",
     {{L"sCSPName", VT_BSTR},
      {L"sExtLib", VT_BSTR},
      {L"sOldPin", VT_BSTR},
      {L"sNewPin1", VT_BSTR},
      {L"sNewPin2", VT_BSTR}},
     VT_I2},
    {13,
     L"userLoginEx",
     {{L"sCSPName", VT_BSTR}, {L"sContainerName", VT_BSTR}, {L"sExtLib", VT_BSTR}, {L"sUserPin", VT_BSTR}},
     VT_I2},
    {14,
     L"changeUserPinEx",
     {{L"sCSPName", VT_BSTR},
      {L"sContainerName", VT_BSTR},
      {L"sExtLib", VT_BSTR},
      {L"sOldPin", VT_BSTR},
      {L"sNewPin", VT_BSTR}},
     VT_I2},
    {15, L"getKeyRetrysEx", {{L"sContainerName", VT_BSTR}, {L"sExtLib", VT_BSTR}}, VT_I2},
    {16,
     L"getKeyDataEx",
     {{L"sContainerName", VT_BSTR}, {L"sExtLib", VT_BSTR}, {L"sKeyFile", VT_BSTR}},
     VT_BSTR},
    {17, L"getKeySNEx", {{L"sContainerName", VT_BSTR}, {L"sExtLib", VT_BSTR}}, VT_BSTR},
    {18,
     L"setKeyDataEx",
     {{L"sContainerName", VT_BSTR}, {L"sExtLib", VT_BSTR}, {L"sKeyFile", VT_BSTR}, {L"sData", VT_BSTR}},
     VT_I2},
    {19,
     L"creatKeyFileEx",
     {{L"sContainerName", VT_BSTR}, {L"sExtLib", VT_BSTR}, {L"sKeyFile", VT_BSTR}, {L"nMaxLen", VT_I2}},
     VT_I2},
};

const std::vector<ScriptedMethod> kUtilMethods = {
    {1, L"base64EncodeString", {{L"sInData", VT_BSTR}}, VT_BSTR},
    {2, L"base64EncodeFile", {{L"sFilePath", VT_BSTR}}, VT_BSTR},
    {3, L"getUserList", {}, VT_BSTR},
    {4, L"getUserInfoByContainer", {{L"sContainerName", VT_BSTR}, {L"TypeID", VT_I2}}, VT_BSTR},
    {5, L"base64DecodeFile", {{L"sInData", VT_BSTR}, {L"sFilePath", VT_BSTR}}, VT_I2},
    {6, L"base64DecodeString", {{L"sInData", VT_BSTR}}, VT_BSTR},
    {7, L"getUserList2", {}, VT_BSTR},
    {8, L"GetContainerNameByUniqueId", {{L"UniqueId", VT_BSTR}, {L"AppNameAndOid", VT_BSTR}}, VT_BSTR},
    {9, L"RenameFile", {{L"oldname", VT_BSTR}, {L"newname", VT_BSTR}}, VT_I2},
};

const std::vector<ScriptedMethod> kControlMethods = {
    {1, L"EnumUsbKey", {}, VT_BSTR},
    {2, L"getUserInfoByContainer", {{L"strContainerName", VT_BSTR}, {L"type", VT_I2}}, VT_BSTR},
    {3, L"getUserList", {}, VT_BSTR},
    {4, L"RegisterDeviceInterface", {}, VT_VOID},
    {5, L"SetLoginState", {{L"strContainerName", VT_BSTR}, {L"strUserName", VT_BSTR}}, VT_I4},
    {6, L"GetSavedPass", {{L"strUserName", VT_BSTR}}, VT_BSTR},
    {7, L"GetUSBKeyList", {}, VT_BSTR},
    {8, L"GetPassSaveState", {{L"strUserName", VT_BSTR}}, VT_I4},
    {9, L"SaveUserPass", {{L"strUserName", VT_BSTR}, {L"strPass", VT_BSTR}}, VT_I4},
    {10, L"DelUserPass", {{L"strUserName", VT_BSTR}}, VT_I4},
    {-552, L"AboutBox", {}, VT_VOID},
};

const std::vector<ScriptedMethod> kControlEvents = {
    {1, L"OnUSBKeyChange", {}, VT_VOID},
};

}  // namespace

const std::vector<ScriptedInterface>& ScriptedInterfaces()
{
    static const std::vector<ScriptedInterface> interfaces = {
        {L"ICertificate", &kCertificate, true, kCertificateMethods},
        {L"ICrypto", &kCrypto, true, kCryptoMethods},
        {L"IDeviceMgr", &kDeviceMgr, true, kDeviceMgrMethods},
        {L"IUtil", &kUtil, true, kUtilMethods},
        {L"_DUSBKeyPnPActiveX", &kControl, false, kControlMethods},
        {L"_DUSBKeyPnPActiveXEvents", nullptr, false, kControlEvents},
    };
    return interfaces;
}

const ScriptedInterface& InterfaceOf(const ScriptedClass& made)
{
    for (const ScriptedInterface& entry : ScriptedInterfaces())
        if (entry.made == &made) return entry;
    ADD_FAILURE() << made.name << " has no scripted interface";
    return ScriptedInterfaces().front();
}

}  // namespace kzr::test
