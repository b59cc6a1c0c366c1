// The type library in the DLL, method by method: number, name, parameters, result, help string.
#include <windows.h>
#include <gtest/gtest.h>

#include <oleauto.h>

#include <set>
#include <string>
#include <vector>

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "registration/Registry.h"
#include "registration/ServerModule.h"

namespace kzr::test {
namespace {

struct Row {
    const wchar_t* interfaceName;
    MEMBERID number;
    const wchar_t* method;
    const wchar_t* parameters;  // "?" marks an optional one, which stands for ""
    VARTYPE result;
};

// clang-format off
constexpr Row kRows[] = {
    {L"ICertificate", 1, L"importCert", L"BSTR sCertSrc, I2 SrcType, BSTR sPwd?", VT_I2},
    {L"ICertificate", 2, L"exportCert", L"I2 DstType, BSTR sCertPath?", VT_BSTR},
    {L"ICertificate", 3, L"getBasicCertInfoByOID", L"I2 OID", VT_BSTR},
    {L"ICertificate", 4, L"checkValidaty", L"BSTR sDate?", VT_I2},
    {L"ICertificate", 5, L"getExtCertInfoByOID", L"BSTR sOID", VT_BSTR},
    {L"ICertificate", 6, L"validateCert", L"BSTR sCertChain, BSTR sCRL?", VT_I2},
    {L"ICertificate", 7, L"modifyPFXPwd", L"BSTR sPFXPath, BSTR sOldPwd, BSTR sNewPwd", VT_I2},
    {L"ICertificate", 8, L"modifyPFXPwd2", L"BSTR sPFXPath, BSTR sOldPwd, BSTR sNewPwd1, BSTR sNewPwd2", VT_I2},
    {L"ICertificate", 9, L"SavePFXToCBIEx", L"BSTR sCBIFilePath, I4 type, BSTR sContainName", VT_I4},
    {L"ICertificate", 10, L"ParseCBIToPFXEx", L"BSTR sCBIFilePath", VT_BSTR},
    {L"ICertificate", 11, L"ClearConfig", L"BSTR username", VT_I4},
    {L"ICrypto", 1, L"setUserCfg", L"I2 CfgFlag, BSTR sCfgValue, BSTR sExt1CfgValue?, BSTR sExt2CfgValue?", VT_I2},
    {L"ICrypto", 2, L"setAlgFlag", L"I2 AlgType, I2 AlgFlag", VT_I2},
    {L"ICrypto", 3, L"signedDataByP7", L"BSTR sInData, BSTR sContainerName?", VT_BSTR},
    {L"ICrypto", 4, L"verifySignedDataByP7", L"BSTR sInData", VT_I2},
    {L"ICrypto", 5, L"signedData", L"BSTR sInData, BSTR sContainerName?", VT_BSTR},
    {L"ICrypto", 6, L"verifySignedData", L"BSTR sInData, BSTR sCert, BSTR sOriData", VT_I2},
    {L"ICrypto", 7, L"generateRandom", L"I2 RandomLen", VT_BSTR},
    {L"ICrypto", 8, L"envelopedData", L"BSTR sInData, I2 flag, BSTR sContainerName?", VT_BSTR},
    {L"ICrypto", 9, L"authUser", L"BSTR sInData, BSTR sContainerName?", VT_BSTR},
    {L"ICrypto", 10, L"checkUser", L"BSTR sInData, BSTR sCert, BSTR sOriData", VT_I2},
    {L"ICrypto", 11, L"decodeP7Data", L"BSTR sInData, I2 type", VT_BSTR},
    {L"ICrypto", 12, L"encryptFile", L"BSTR sInFileName, BSTR sOutFileName, BSTR sKey", VT_I2},
    {L"ICrypto", 13, L"decryptFile", L"BSTR sInFileName, BSTR sOutFileName, BSTR sKey", VT_I2},
    {L"ICrypto", 14, L"setOnceCfg", L"I2 CfgFlag, BSTR sCfgValue, BSTR sExt1CfgValue?, BSTR sExt2CfgValue?", VT_I2},
    {L"ICrypto", 15, L"ReadPfxToQmr", L"BSTR sContainerName, I2 KeyUsage, BSTR sPassword, BSTR sPfxFile", VT_I2},
    {L"ICrypto", 16, L"Hash", L"BSTR sInData", VT_BSTR},
    {L"ICrypto", 17, L"signFile", L"BSTR sFileName, BSTR sContainerName", VT_BSTR},
    {L"ICrypto", 18, L"verifySignFile", L"BSTR sFileName, BSTR sCert, BSTR SignData", VT_I2},
    {L"ICrypto", 19, L"signedDataXML", L"BSTR sInDataXML, BSTR sContainnerName", VT_BSTR},
    {L"ICrypto", 20, L"verifySignedDataXML", L"BSTR sInDataXML", VT_I4},
    {L"ICrypto", 21, L"getXMLSignatureInfo", L"BSTR sInDataXML, I4 type", VT_BSTR},
    {L"ICrypto", 22, L"EncStr", L"BSTR sKey, BSTR instr", VT_BSTR},
    {L"ICrypto", 23, L"DecStr", L"BSTR sKey, BSTR instr", VT_BSTR},
    {L"ICrypto", 24, L"SetSessionKey", L"BSTR sKey, BSTR sContainerName", VT_I4},
    {L"ICrypto", 25, L"GetSessionKey", L"BSTR sContainerName", VT_BSTR},
    {L"ICrypto", 27, L"SetPinFlag", L"I4 flag", VT_I4},
    {L"ICrypto", 28, L"SecertSegment", L"BSTR Secert, I4 n, I4 d, I4 Mustn", VT_BSTR},
    {L"ICrypto", 29, L"SecertRecovery", L"BSTR sInData", VT_BSTR},
    {L"ICrypto", 30, L"EncDataByCert", L"BSTR sCert, BSTR src", VT_BSTR},
    {L"ICrypto", 31, L"DecDataByRSA", L"BSTR sContainerName, BSTR EncStr", VT_BSTR},
    {L"ICrypto", 32, L"encryptData", L"BSTR sKey, BSTR inData", VT_BSTR},
    {L"ICrypto", 33, L"decryptData", L"BSTR sKey, BSTR inData", VT_BSTR},
    {L"ICrypto", 34, L"pubKeyEncrypt", L"BSTR Cert, BSTR inData", VT_BSTR},
    {L"ICrypto", 35, L"priKeyDecrypt", L"BSTR sContainerName, BSTR inData", VT_BSTR},
    {L"ICrypto", 36, L"HashData", L"BSTR inData", VT_BSTR},
    {L"ICrypto", 37, L"GenTSReq", L"BSTR HashValue", VT_BSTR},
    {L"ICrypto", 38, L"EncData", L"BSTR sKey, BSTR sInData", VT_BSTR},
    {L"ICrypto", 39, L"DecData", L"BSTR sKey, BSTR sInData", VT_BSTR},
    {L"ICrypto", 40, L"HashFile", L"BSTR sInFile", VT_BSTR},
    {L"ICrypto", 41, L"setUserCfgEx", L"I2 CfgFlag, BSTR sCfgValue, BSTR sExt1CfgValue, BSTR sExt2CfgValue, BSTR sContainerName", VT_I2},
    {L"IDeviceMgr", 1, L"userLogin", L"BSTR sCSPName, BSTR sUserPin", VT_I2},
    {L"IDeviceMgr", 2, L"changeUserPin", L"BSTR sCSPName, BSTR sExtLib, BSTR sOldPin, BSTR sNewPin", VT_I2},
    {L"IDeviceMgr", 3, L"enumUserCertificates", L"BSTR sCSPName", VT_BSTR},
    {L"IDeviceMgr", 4, L"getKeyRetrys", L"BSTR sExtLib", VT_I2},
    {L"IDeviceMgr", 5, L"getOldKeyInfo", L"BSTR sContainerName, BSTR sPwd, BSTR sDeviceType, I2 TypeID", VT_BSTR},
    {L"IDeviceMgr", 6, L"changeOldKeyPwd", L"BSTR sContainerName, BSTR sDeviceType, I2 Port, BSTR sOldPwd, BSTR sNewPwd", VT_I2},
    {L"IDeviceMgr", 7, L"getKeyData", L"BSTR sExtLib, BSTR sKeyFile", VT_BSTR},
    {L"IDeviceMgr", 8, L"getKeySN", L"BSTR sExtLib", VT_BSTR},
    {L"IDeviceMgr", 9, L"getKeySavedPass", L"BSTR keySN", VT_BSTR},
    {L"IDeviceMgr", 10, L"setKeyData", L"BSTR sExtLib, BSTR sKeyFile, BSTR sData", VT_I2},
    {L"IDeviceMgr", 11, L"creatKeyFile", L"BSTR sExtLib, BSTR sKeyFile, I2 nMaxLen", VT_I2},
    {L"IDeviceMgr", 12, L"changeUserPin2", L"BSTR sCSPName, BSTR sExtLib, BSTR sOldPin, BSTR sNewPin1, BSTR sNewPin2", VT_I2},
    {L"IDeviceMgr", 13, L"userLoginEx", L"BSTR sCSPName, BSTR sContainerName, BSTR sExtLib, BSTR sUserPin", VT_I2},
    {L"IDeviceMgr", 14, L"changeUserPinEx", L"BSTR sCSPName, BSTR sContainerName, BSTR sExtLib, BSTR sOldPin, BSTR sNewPin", VT_I2},
    {L"IDeviceMgr", 15, L"getKeyRetrysEx", L"BSTR sContainerName, BSTR sExtLib", VT_I2},
    {L"IDeviceMgr", 16, L"getKeyDataEx", L"BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile", VT_BSTR},
    {L"IDeviceMgr", 17, L"getKeySNEx", L"BSTR sContainerName, BSTR sExtLib", VT_BSTR},
    {L"IDeviceMgr", 18, L"setKeyDataEx", L"BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, BSTR sData", VT_I2},
    {L"IDeviceMgr", 19, L"creatKeyFileEx", L"BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, I2 nMaxLen", VT_I2},
    {L"IUtil", 1, L"base64EncodeString", L"BSTR sInData", VT_BSTR},
    {L"IUtil", 2, L"base64EncodeFile", L"BSTR sFilePath", VT_BSTR},
    {L"IUtil", 3, L"getUserList", L"", VT_BSTR},
    {L"IUtil", 4, L"getUserInfoByContainer", L"BSTR sContainerName, I2 TypeID", VT_BSTR},
    {L"IUtil", 5, L"base64DecodeFile", L"BSTR sInData, BSTR sFilePath", VT_I2},
    {L"IUtil", 6, L"base64DecodeString", L"BSTR sInData", VT_BSTR},
    {L"IUtil", 7, L"getUserList2", L"", VT_BSTR},
    {L"IUtil", 8, L"GetContainerNameByUniqueId", L"BSTR UniqueId, BSTR AppNameAndOid", VT_BSTR},
    {L"IUtil", 9, L"RenameFile", L"BSTR oldname, BSTR newname", VT_I2},
    {L"_DUSBKeyPnPActiveX", 1, L"EnumUsbKey", L"", VT_BSTR},
    {L"_DUSBKeyPnPActiveX", 2, L"getUserInfoByContainer", L"BSTR strContainerName, I2 type", VT_BSTR},
    {L"_DUSBKeyPnPActiveX", 3, L"getUserList", L"", VT_BSTR},
    {L"_DUSBKeyPnPActiveX", 4, L"RegisterDeviceInterface", L"", VT_VOID},
    {L"_DUSBKeyPnPActiveX", 5, L"SetLoginState", L"BSTR strContainerName, BSTR strUserName", VT_I4},
    {L"_DUSBKeyPnPActiveX", 6, L"GetSavedPass", L"BSTR strUserName", VT_BSTR},
    {L"_DUSBKeyPnPActiveX", 7, L"GetUSBKeyList", L"", VT_BSTR},
    {L"_DUSBKeyPnPActiveX", 8, L"GetPassSaveState", L"BSTR strUserName", VT_I4},
    {L"_DUSBKeyPnPActiveX", 9, L"SaveUserPass", L"BSTR strUserName, BSTR strPass", VT_I4},
    {L"_DUSBKeyPnPActiveX", 10, L"DelUserPass", L"BSTR strUserName", VT_I4},
    {L"_DUSBKeyPnPActiveX", -552, L"AboutBox", L"", VT_VOID},
    {L"_DUSBKeyPnPActiveXEvents", 1, L"OnUSBKeyChange", L"", VT_VOID},
};
// clang-format on

struct Method {
    std::wstring name;
    std::wstring parameters;
    VARTYPE result;
    std::wstring help;
};

std::wstring TypeName(const TYPEDESC& type)
{
    switch (type.vt) {
        case VT_BSTR:
            return L"BSTR";
        case VT_I2:
            return L"I2";
        case VT_I4:
            return L"I4";
        default:
            return L"type " + std::to_wstring(type.vt);
    }
}

std::wstring ParameterText(const ELEMDESC& parameter, BSTR name)
{
    const USHORT flags = parameter.paramdesc.wParamFlags;
    std::wstring text = TypeName(parameter.tdesc) + L" " + WideText(name);
    if (!(flags & PARAMFLAG_FIN)) text += L" (not in)";
    if (!(flags & PARAMFLAG_FOPT)) return text;
    const PARAMDESCEX* standing = flags & PARAMFLAG_FHASDEFAULT ? parameter.paramdesc.pparamdescex : nullptr;
    const bool isEmptyText = standing && standing->varDefaultValue.vt == VT_BSTR &&
                             SysStringLen(standing->varDefaultValue.bstrVal) == 0;
    return text + (isEmptyText ? L"?" : L" (optional without a default)");
}

class TypeLibrary : public testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(LoadTypeLibEx(DllPath().c_str(), REGKIND_NONE, m_library.put()), S_OK);
    }

    ComPtr<ITypeInfo> InfoOf(const wchar_t* name) const
    {
        for (UINT index = 0; index < m_library->GetTypeInfoCount(); ++index) {
            Bstr found;
            m_library->GetDocumentation(static_cast<INT>(index), found.put(), nullptr, nullptr, nullptr);
            ComPtr<ITypeInfo> info;
            if (WideText(found.Get()) == name) m_library->GetTypeInfo(index, info.put());
            if (info) return info;
        }
        throw std::runtime_error("the type library lacks " + Utf8(name));
    }

    // The interface's own methods, without those of IDispatch.
    static std::map<MEMBERID, Method> MethodsOf(ITypeInfo* info)
    {
        std::map<MEMBERID, Method> methods;
        TYPEATTR* attributes = nullptr;
        EXPECT_EQ(info->GetTypeAttr(&attributes), S_OK);
        for (UINT index = 0; index < attributes->cFuncs; ++index) {
            FUNCDESC* function = nullptr;
            EXPECT_EQ(info->GetFuncDesc(index, &function), S_OK);
            if (!(function->wFuncFlags & FUNCFLAG_FRESTRICTED))
                methods[function->memid] = Describe(info, *function);
            info->ReleaseFuncDesc(function);
        }
        info->ReleaseTypeAttr(attributes);
        return methods;
    }

    static Method Describe(ITypeInfo* info, const FUNCDESC& function)
    {
        Bstr name, help;
        info->GetDocumentation(function.memid, name.put(), help.put(), nullptr, nullptr);
        BSTR names[10] = {};
        UINT count = 0;
        info->GetNames(function.memid, names, 10, &count);
        std::wstring parameters;
        for (UINT index = 1; index < count; ++index) {
            const ELEMDESC& parameter = function.lprgelemdescParam[index - 1];
            parameters += (index > 1 ? L", " : L"") + ParameterText(parameter, names[index]);
        }
        EXPECT_EQ(static_cast<UINT>(function.cParams) + 1, count) << "a parameter has no name";
        for (UINT index = 0; index < count; ++index) Bstr::Adopt(names[index]);
        return {WideText(name.Get()), parameters, function.elemdescFunc.tdesc.vt, WideText(help.Get())};
    }

    ComPtr<ITypeLib> m_library;
};

TEST_F(TypeLibrary, DescribesEveryMethodAsScriptsCallIt)
{
    for (const Row& row : kRows) {
        const auto methods = MethodsOf(InfoOf(row.interfaceName).Get());
        const auto found = methods.find(row.number);
        ASSERT_NE(found, methods.end()) << Utf8(row.method);
        EXPECT_EQ(Utf8(found->second.name), Utf8(row.method));
        EXPECT_EQ(Utf8(found->second.parameters), Utf8(row.parameters)) << Utf8(row.method);
        EXPECT_EQ(found->second.result, row.result) << Utf8(row.method);
    }
}

TEST_F(TypeLibrary, HoldsNoMethodBesidesThose)
{
    std::map<std::wstring, size_t> counts;
    for (const Row& row : kRows) ++counts[row.interfaceName];
    for (const auto& [name, count] : counts) {
        EXPECT_EQ(MethodsOf(InfoOf(name.c_str()).Get()).size(), count) << Utf8(name);
    }
}

TEST_F(TypeLibrary, GivesEveryMethodAHelpString)
{
    for (const Row& row : kRows) {
        const auto methods = MethodsOf(InfoOf(row.interfaceName).Get());
        EXPECT_GT(methods.at(row.number).help.size(), 10u) << Utf8(row.method);
    }
}

TEST_F(TypeLibrary, FindsEveryMethodByItsNameInAnyLetterCase)
{
    for (const Row& row : kRows) {
        std::wstring name = Lower(row.method);
        LPOLESTR names[] = {name.data()};
        MEMBERID number = DISPID_UNKNOWN;
        EXPECT_EQ(InfoOf(row.interfaceName)->GetIDsOfNames(names, 1, &number), S_OK) << Utf8(row.method);
        EXPECT_EQ(number, row.number) << Utf8(row.method);
    }
}

TEST_F(TypeLibrary, HasItsIdentifierItsVersionAndItsName)
{
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(m_library->GetLibAttr(&attributes), S_OK);
    wchar_t identifier[40];
    StringFromGUID2(attributes->guid, identifier, 40);
    EXPECT_STREQ(identifier, L"{B006C93F-3057-4F95-8184-9382035E26FB}");
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    m_library->ReleaseTLibAttr(attributes);
    Bstr name;
    m_library->GetDocumentation(-1, name.put(), nullptr, nullptr, nullptr);
    EXPECT_EQ(WideText(name.Get()), L"TOLVSECCOMLib");
}

struct ClassRow {
    const wchar_t* name;
    const wchar_t* clsid;
    WORD flags;
    const wchar_t* interfaceName;
    const wchar_t* sourceName;  // null: fires no events
};

constexpr ClassRow kClassRows[] = {
    {L"Certificate", L"{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}", TYPEFLAG_FCANCREATE, L"ICertificate",
     nullptr},
    {L"Crypto", L"{5B584C94-8FB4-4647-AFE6-879085600DBF}", TYPEFLAG_FCANCREATE, L"ICrypto", nullptr},
    {L"DeviceMgr", L"{E5E8F6BE-7753-4041-880B-16D31F61397E}", TYPEFLAG_FCANCREATE, L"IDeviceMgr", nullptr},
    {L"Util", L"{A49B9696-751E-4402-A733-3AD46F48A5A0}", TYPEFLAG_FCANCREATE, L"IUtil", nullptr},
    {L"USBKeyPnPActiveX", L"{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}", TYPEFLAG_FCANCREATE | TYPEFLAG_FCONTROL,
     L"_DUSBKeyPnPActiveX", L"_DUSBKeyPnPActiveXEvents"},
};

std::wstring ImplementedName(ITypeInfo* info, UINT index)
{
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> implemented;
    Bstr name;
    if (FAILED(info->GetRefTypeOfImplType(index, &reference)) ||
        FAILED(info->GetRefTypeInfo(reference, implemented.put()))) {
        return L"<none>";
    }
    implemented->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
    return WideText(name.Get());
}

TEST_F(TypeLibrary, NamesEveryClassWithItsDefaultInterfaceAndItsEvents)
{
    for (const ClassRow& row : kClassRows) {
        const ComPtr<ITypeInfo> info = InfoOf(row.name);
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        wchar_t clsid[40];
        StringFromGUID2(attributes->guid, clsid, 40);
        EXPECT_STREQ(clsid, row.clsid);
        EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
        EXPECT_EQ(attributes->wTypeFlags, row.flags) << Utf8(row.name);
        ASSERT_EQ(attributes->cImplTypes, row.sourceName ? 2 : 1) << Utf8(row.name);
        info->ReleaseTypeAttr(attributes);
        EXPECT_EQ(ImplementedName(info.Get(), 0), row.interfaceName);
        int flags = 0;
        info->GetImplTypeFlags(0, &flags);
        EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
        if (!row.sourceName) continue;
        EXPECT_EQ(ImplementedName(info.Get(), 1), row.sourceName);
        info->GetImplTypeFlags(1, &flags);
        EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
    }
}

TEST_F(TypeLibrary, TheScriptableInterfacesAreDualAndTheControlsAreNot)
{
    const std::set<std::wstring> dual = {L"ICertificate", L"ICrypto", L"IDeviceMgr", L"IUtil"};
    for (const Row& row : kRows) {
        const ComPtr<ITypeInfo> info = InfoOf(row.interfaceName);
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        EXPECT_EQ((attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0, dual.contains(row.interfaceName));
        info->ReleaseTypeAttr(attributes);
    }
}

// In the table of a dual interface the methods stand in the order of their numbers, behind those of
// IDispatch.
TEST_F(TypeLibrary, TheTableOfADualInterfaceFollowsTheNumbers)
{
    for (const wchar_t* name : {L"ICertificate", L"ICrypto", L"IDeviceMgr", L"IUtil"}) {
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> table;
        const ComPtr<ITypeInfo> info = InfoOf(name);
        ASSERT_EQ(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
        ASSERT_EQ(info->GetRefTypeInfo(reference, table.put()), S_OK);
        MEMBERID last = 0;
        short slot = 7;
        for (UINT index = 0; index < MethodsOf(info.Get()).size(); ++index, ++slot) {
            FUNCDESC* function = nullptr;
            ASSERT_EQ(table->GetFuncDesc(index, &function), S_OK);
            EXPECT_GT(function->memid, last) << Utf8(name);
            EXPECT_EQ(function->oVft, slot * static_cast<short>(sizeof(void*)));
            last = function->memid;
            table->ReleaseFuncDesc(function);
        }
    }
}

}  // namespace
}  // namespace kzr::test
