// CDeviceMgr with texts beyond ASCII: PINs, file names, data and the names of a device stay wide in every
// code page; containers and serial numbers come out of the user list, which does not.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

const wchar_t* const kName = L"\u5f20\u4e09\u0436";
const wchar_t* const kRare = L"\U00020000\u5f20";

// What a row's call finds: a device with names beyond every code page.
const std::vector<User> kUsers = {{L"Alice", L"c1", L"SN01", kName, kRare}};

Case Row(const std::string& name, const wchar_t* method, DISPID id, const DirectCall& direct,
         const Values& arguments, const std::string& shown, const LogStep& call, const Value& retVal,
         const std::vector<User>& users = kUsers)
{
    const std::string prefix = "CDeviceMgr: " + Shown(method);
    return {.name = name,
            .method = method,
            .id = id,
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace(prefix + " starting..."), Trace(prefix + " " + shown + "..."), call,
                      Trace(prefix + " ending ok...")},
            .retVal = retVal,
            .users = users};
}

Case Login(const std::string& name, const wchar_t* pin)
{
    return Row(name, L"userLogin", 1, Direct(&IDeviceMgr::userLogin), {kName, pin},
               "cspName(" + Shown(kName) + ")", Calls(L"SOF_Login", {L"c1/SN01", pin}, Bool(true)), I2(0));
}

Case ChangesPin()
{
    return Row("PinsStayWideWhenTheyAreChanged", L"changeUserPin", 2, Direct(&IDeviceMgr::changeUserPin),
               {kRare, kRare, kName, L"\u65b0\u53e3\u4ee4"},
               "cspName(" + Shown(kRare) + ") extLibName(" + Shown(kRare) + ")",
               Calls(L"SOF_ChangePassWd", {L"c1/SN01", kName, L"\u65b0\u53e3\u4ee4"}, Bool(true)), I2(0));
}

Case Reads(const std::string& name, const wchar_t* file, const wchar_t* data)
{
    return Row(name, L"getKeyData", 7, Direct(&IDeviceMgr::getKeyData), {kRare, file},
               "extLibName(" + Shown(kRare) + ") KeyFile(" + Shown(file) + ")",
               Calls(L"ReadFile", {L"SN01", file}, data), data);
}

Case Writes(const wchar_t* file, const wchar_t* data)
{
    return Row("WrittenDataStaysWide", L"setKeyData", 10, Direct(&IDeviceMgr::setKeyData),
               {kRare, file, data}, "extLibName(" + Shown(kRare) + ") KeyFile(" + Shown(file) + ")",
               Calls(L"WriteFile", {L"SN01", file, data, I2(0)}, Bool(true)), I2(0));
}

Case Creates(const wchar_t* file)
{
    return Row("ACreatedFilesNameStaysWide", L"creatKeyFile", 11, Direct(&IDeviceMgr::creatKeyFile),
               {kRare, file, I2(3)}, "extLibName(" + Shown(kRare) + ") KeyFile(" + Shown(file) + ")",
               Calls(L"WriteFile", {L"SN01", file, L"   ", I2(0)}, Bool(true)), I2(0));
}

const Rows kWide = {
    Login("APinStaysWide", kName),
    Login("APinThatNoCodePageHoldsStaysWide", kRare),
    ChangesPin(),
    Reads("AFilesNameAndDataStayWide", L"\u6587\u4ef6", kName),
    Reads("DataThatNoCodePageHoldsStaysWide", kRare, kRare),
    Writes(L"\u6587\u4ef6", kRare),
    Creates(L"\u6587\u4ef6\u0436"),
};

KZR_CASES(CodePage936DeviceMgr, kDeviceMgr, kWide);
KZR_CASES(CodePage1252DeviceMgr, kDeviceMgr, kWide);
KZR_CASES(CodePage65001DeviceMgr, kDeviceMgr, kWide);

const std::vector<User> kChinese = {{L"\u5f20\u4e09", L"\u5bb9\u5668\u4e59", L"\u5e8f02", L"\u4e2d", L"X"},
                                    {L"\u674e\u56db", L"\u5bb9\u5668\u4e00", L"\u5e8f01", L"\u4e2d", L"Y"}};

Case LoginEx(const wchar_t* container, const wchar_t* id)
{
    return Row("AChineseContainerLogsIn", L"userLoginEx", 13, Direct(&IDeviceMgr::userLoginEx),
               {L"", container, L"", kName}, "cspName() containerName(" + Shown(container) + ") extLibName()",
               Calls(L"SOF_Login", {id, kName}, Bool(true)), I2(0), kChinese);
}

Case Enumerates(const wchar_t* csp, const wchar_t* containers)
{
    return {.name = "ChineseContainersAreSortedByTheirUnits",
            .method = L"enumUserCertificates",
            .id = 3,
            .direct = Direct(&IDeviceMgr::enumUserCertificates),
            .arguments = {csp},
            .steps = {Trace("CDeviceMgr: enumUserCertificates starting..."),
                      Trace("CDeviceMgr: enumUserCertificates(" + Shown(containers) + ")..."),
                      Trace("CDeviceMgr: enumUserCertificates ending ok...")},
            .retVal = containers,
            .users = kChinese};
}

Case SerialNumber(const wchar_t* container, const wchar_t* serial)
{
    return {.name = "AChineseSerialNumberIsGiven",
            .method = L"getKeySNEx",
            .id = 17,
            .direct = Direct(&IDeviceMgr::getKeySNEx),
            .arguments = {container, L""},
            .steps = {Trace("CDeviceMgr: getKeySNEx starting..."),
                      Trace("CDeviceMgr: getKeySNEx extLibName() ..."),
                      Trace("CDeviceMgr: getKeySNEx(" + Shown(serial) + ")..."),
                      Trace("CDeviceMgr: getKeySNEx ending ok...")},
            .retVal = serial,
            .users = kChinese};
}

const Rows kListed = {
    LoginEx(L"\u5bb9\u5668\u4e00", L"\u5bb9\u5668\u4e00/\u5e8f01"),
    Enumerates(L"\u4e2d", L"\u5bb9\u5668\u4e00&&&\u5bb9\u5668\u4e59&&&"),
    SerialNumber(L"\u5bb9\u5668\u4e59/x", L"\u5e8f02"),
};
KZR_CASES(CodePage936DeviceMgrContainers, kDeviceMgr, kListed);
KZR_CASES(CodePage65001DeviceMgrContainers, kDeviceMgr, kListed);

}  // namespace
}  // namespace kzr::test
