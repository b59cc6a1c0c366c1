// CDeviceMgr, login and PINs: which container is meant, what the backend is asked, what its answers become.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

Forwarding UserLogin(const Value& csp = L"CSP1", const std::wstring& id = L"c1/SN01",
                     const Value& pin = L"1234")
{
    return {"UserLogin",
            L"userLogin",
            1,
            Direct(&IDeviceMgr::userLogin),
            {csp, pin},
            {Trace("CDeviceMgr: userLogin starting..."),
             Trace("CDeviceMgr: userLogin cspName(" + Shown(csp) + ")...")},
            L"SOF_Login",
            {id, pin},
            {Trace("CDeviceMgr: userLogin ending ok...")},
            "CDeviceMgr: userLogin call SOF_Login return error!"};
}

Forwarding UserLoginEx(const Value& container = L"c1", const std::wstring& id = L"c1/SN01",
                       const Value& csp = L"CSP2", const Value& extLib = L"EXT2", const Value& pin = L"1234")
{
    return {"UserLoginEx",
            L"userLoginEx",
            13,
            Direct(&IDeviceMgr::userLoginEx),
            {csp, container, extLib, pin},
            {Trace("CDeviceMgr: userLoginEx starting..."),
             Trace("CDeviceMgr: userLoginEx cspName(" + Shown(csp) + ") containerName(" + Shown(container) +
                   ") extLibName(" + Shown(extLib) + ")...")},
            L"SOF_Login",
            {id, pin},
            {Trace("CDeviceMgr: userLoginEx ending ok...")},
            "CDeviceMgr: userLoginEx call SOF_Login return error!"};
}

Forwarding ChangeUserPin(const Value& extLib = L"EXT1", const std::wstring& id = L"c1/SN01",
                         const Value& csp = L"CSP2", const Value& oldPin = L"1234",
                         const Value& newPin = L"5678")
{
    return {
        "ChangeUserPin",
        L"changeUserPin",
        2,
        Direct(&IDeviceMgr::changeUserPin),
        {csp, extLib, oldPin, newPin},
        {Trace("CDeviceMgr: changeUserPin starting..."),
         Trace("CDeviceMgr: changeUserPin cspName(" + Shown(csp) + ") extLibName(" + Shown(extLib) + ")...")},
        L"SOF_ChangePassWd",
        {id, oldPin, newPin},
        {Trace("CDeviceMgr: changeUserPin ending ok...")},
        "CDeviceMgr: changeUserPin call SOF_ChangePassWd return error!"};
}

Forwarding ChangeUserPinEx(const Value& container = L"c1", const std::wstring& id = L"c1/SN01",
                           const Value& csp = L"CSP2", const Value& extLib = L"EXT2",
                           const Value& oldPin = L"1234", const Value& newPin = L"5678")
{
    return {"ChangeUserPinEx",
            L"changeUserPinEx",
            14,
            Direct(&IDeviceMgr::changeUserPinEx),
            {csp, container, extLib, oldPin, newPin},
            {Trace("CDeviceMgr: changeUserPinEx starting..."),
             Trace("CDeviceMgr: changeUserPinEx cspName(" + Shown(csp) + ") containerName(" +
                   Shown(container) + ") extLibName(" + Shown(extLib) + ")...")},
            L"SOF_ChangePassWd",
            {id, oldPin, newPin},
            {Trace("CDeviceMgr: changeUserPinEx ending ok...")},
            "CDeviceMgr: changeUserPinEx call SOF_ChangePassWd return error!"};
}

Forwarding GetKeyRetrys(const Value& extLib = L"EXT1", const std::wstring& id = L"c1/SN01")
{
    return {"GetKeyRetrys",
            L"getKeyRetrys",
            4,
            Direct(&IDeviceMgr::getKeyRetrys),
            {extLib},
            {Trace("CDeviceMgr: getKeyRetrys starting..."),
             Trace("CDeviceMgr: getKeyRetrys extLibName(" + Shown(extLib) + ")...")},
            L"SOF_GetPinRetryCount",
            {id},
            {Trace("CDeviceMgr: getKeyRetrys ending(3)...")},
            "CDeviceMgr: getKeyRetrys call SOF_GetPinRetryCount error!"};
}

Forwarding GetKeyRetrysEx(const Value& container = L"c1", const std::wstring& id = L"c1/SN01",
                          const Value& extLib = L"EXT2")
{
    return {"GetKeyRetrysEx",
            L"getKeyRetrysEx",
            15,
            Direct(&IDeviceMgr::getKeyRetrysEx),
            {container, extLib},
            {Trace("CDeviceMgr: getKeyRetrysEx starting..."),
             Trace("CDeviceMgr: getKeyRetrysEx containerName(" + Shown(container) + ") extLibName(" +
                   Shown(extLib) + ")...")},
            L"SOF_GetPinRetryCount",
            {id},
            {Trace("CDeviceMgr: getKeyRetrysEx ending(3)...")},
            "CDeviceMgr: getKeyRetrysEx call SOF_GetPinRetryCount error!"};
}

// The line of the count, for the method of that name.
std::function<LogSteps(int)> EndingOf(const std::string& method)
{
    return [method](int count) {
        return LogSteps{Trace("CDeviceMgr: " + method + " ending(" + std::to_string(count) + ")...")};
    };
}

Case ThreeRow(const Forwarding& call, const std::string& name = "")
{
    return RowOf(call, name, I4(3), call.after, I2(3));
}

// A login that the backend refuses, or that falls over in it.
Case Refused(const Forwarding& call, const std::string& name)
{
    return RowOf(call, name, Bool(false), {Error(call.failure)}, I2(-1));
}

Case FallsOver(const Forwarding& call, const std::string& name)
{
    Case row =
        RowOf(call, name, Faults(FaultKind::Read),
              {Error("Invoke CDeviceMgr dispid(" + std::to_string(call.id) + "): receive a fatal error!!!")},
              I2(0));
    row.mayFault = true;
    return row;
}

const Value kLongPin(std::wstring(4000, L'9'));
const Value kTextWithNull(
    std::wstring(L"12\0"
                 L"34",
                 5));

const Rows kLogins = Join({
    YesNoOutcomes(UserLogin()),
    LookUpRows("UserLogin", LookUpsByText(L"CSP1", &User::csp),
               [](const LookUp& lookUp) { return YesRow(UserLogin(lookUp.key, lookUp.Id()), ""); }),
    {
        Refused(UserLogin(L"nobody", L""), "OfAnUnknownCspIsRefusedByTheBackend"),
        YesRow(UserLogin(L"CSP1", L"c1/SN01", L""), "PassesAnEmptyPin"),
        YesRow(UserLogin(L"CSP1", L"c1/SN01", NullText()), "PassesANullPinAsANullText"),
        YesRow(UserLogin(L"CSP1", L"c1/SN01", kLongPin), "PassesALongPin"),
        YesRow(UserLogin(L"CSP1", L"c1/SN01", L"%s%n--"), "ShowsFormatSignsAsTheyAre"),
        GivenAs(YesRow(UserLogin(L"CSP1", L"c1/SN01", L"1234"), ""), "TakesANumberForAPin",
                {L"CSP1", I4(1234)}),
        GivenAs(YesRow(UserLogin(L"CSP1", L"c1/SN01", L"1234"), ""), "TakesVariables",
                {ByVariant(L"CSP1"), ByVariant(L"1234")}),
        GivenAs(YesRow(UserLogin(L"CSP1", L"c1/SN01", L""), ""), "TakesUndefinedForAnEmptyPin",
                {L"CSP1", Empty()}),
        GivenAs(YesRow(UserLogin(L"CSP1", L"c1/SN01", L"12"), ""), "PassesAPinUpToItsNull",
                {L"CSP1", kTextWithNull}),
        TurnedAway(UserLogin(), "TurnsNullAway", {L"CSP1", Null()}, DISP_E_TYPEMISMATCH),
        FallsOver(UserLogin(), "OutlivesAFaultOfTheBackend"),
    },
});
KZR_CASES(DeviceMgrUserLogin, kDeviceMgr, kLogins);

const Rows kLoginsEx = Join({
    YesNoOutcomes(UserLoginEx()),
    LookUpRows("UserLoginEx", LookUpsByContainer(),
               [](const LookUp& lookUp) { return YesRow(UserLoginEx(lookUp.key, lookUp.Id()), ""); }),
    {
        Refused(UserLoginEx(L"c3", L""), "OfAnUnknownContainerIsRefusedByTheBackend"),
        YesRow(UserLoginEx(L"c1", L"c1/SN01", L"", L""), "OnlyShowsCspAndLibrary"),
        YesRow(UserLoginEx(L"c1", L"c1/SN01", NullText(), NullText()), "ShowsNullNamesAsEmpty"),
        YesRow(UserLoginEx(L"c1", L"c1/SN01", L"CSP2", L"EXT2", NullText()), "PassesANullPinAsANullText"),
        YesRow(UserLoginEx(L"c1", L"c1/SN01", L"CSP2", L"EXT2", L""), "PassesAnEmptyPin"),
    },
});
KZR_CASES(DeviceMgrUserLoginEx, kDeviceMgr, kLoginsEx);

const Rows kPinChanges = Join({
    YesNoOutcomes(ChangeUserPin()),
    LookUpRows("ChangeUserPin", LookUpsByText(L"EXT1", &User::extLib),
               [](const LookUp& lookUp) { return YesRow(ChangeUserPin(lookUp.key, lookUp.Id()), ""); }),
    {
        Refused(ChangeUserPin(L"nothing", L""), "OfAnUnknownLibraryIsRefusedByTheBackend"),
        YesRow(ChangeUserPin(L"EXT1", L"c1/SN01", NullText()), "OnlyShowsTheCsp"),
        YesRow(ChangeUserPin(L"EXT1", L"c1/SN01", L"CSP2", L"", L""), "PassesEmptyPins"),
        YesRow(ChangeUserPin(L"EXT1", L"c1/SN01", L"CSP2", NullText(), NullText()),
               "PassesNullPinsAsNullTexts"),
        YesRow(ChangeUserPin(L"EXT1", L"c1/SN01", L"CSP2", L"same", L"same"), "PassesTheSamePinTwice"),
    },
});
KZR_CASES(DeviceMgrChangeUserPin, kDeviceMgr, kPinChanges);

const Rows kPinChangesEx = Join({
    YesNoOutcomes(ChangeUserPinEx()),
    LookUpRows("ChangeUserPinEx", LookUpsByContainer(),
               [](const LookUp& lookUp) { return YesRow(ChangeUserPinEx(lookUp.key, lookUp.Id()), ""); }),
    {
        Refused(ChangeUserPinEx(L"c3", L""), "OfAnUnknownContainerIsRefusedByTheBackend"),
        YesRow(ChangeUserPinEx(L"c1", L"c1/SN01", NullText(), NullText()), "OnlyShowsCspAndLibrary"),
        YesRow(ChangeUserPinEx(L"c1", L"c1/SN01", L"CSP2", L"EXT2", L"", NullText()),
               "PassesAnEmptyAndANullPin"),
    },
});
KZR_CASES(DeviceMgrChangeUserPinEx, kDeviceMgr, kPinChangesEx);

const Rows kRetrys = Join({
    CodeOutcomes(GetKeyRetrys(), EndingOf("getKeyRetrys"), -1011),
    LookUpRows("GetKeyRetrys", LookUpsByText(L"EXT1", &User::extLib),
               [](const LookUp& lookUp) { return ThreeRow(GetKeyRetrys(lookUp.key, lookUp.Id())); }),
    {
        GivenAs(ThreeRow(GetKeyRetrys(L"7", L"")), "TakesANumberForALibrary", {I4(7)}),
        TurnedAway(GetKeyRetrys(), "CannotBeCalledWithoutALibrary", {}, DISP_E_BADPARAMCOUNT),
    },
});
KZR_CASES(DeviceMgrGetKeyRetrys, kDeviceMgr, kRetrys);

const Rows kRetrysEx = Join({
    CodeOutcomes(GetKeyRetrysEx(), EndingOf("getKeyRetrysEx"), -1011),
    LookUpRows("GetKeyRetrysEx", LookUpsByContainer(),
               [](const LookUp& lookUp) { return ThreeRow(GetKeyRetrysEx(lookUp.key, lookUp.Id())); }),
    {
        ThreeRow(GetKeyRetrysEx(L"c1", L"c1/SN01", NullText()), "ShowsANullLibraryAsEmpty"),
        ThreeRow(GetKeyRetrysEx(L"c1", L"c1/SN01", L"EXT9"), "OnlyShowsTheLibrary"),
    },
});
KZR_CASES(DeviceMgrGetKeyRetrysEx, kDeviceMgr, kRetrysEx);

Case Unsupported(const std::string& name, const wchar_t* method, DISPID id, const DirectCall& direct,
                 const Values& arguments, const Value& retVal)
{
    const std::string shown = Shown(method);
    return {.name = name,
            .method = method,
            .id = id,
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace("CDeviceMgr: " + shown + " starting..."),
                      Notice("CDeviceMgr: " + shown + " not support!")},
            .retVal = retVal};
}

const auto kOldKeyInfo = Direct(&IDeviceMgr::getOldKeyInfo);
const auto kOldKeyPwd = Direct(&IDeviceMgr::changeOldKeyPwd);
const auto kSavedPass = Direct(&IDeviceMgr::getKeySavedPass);
const auto kPin2 = Direct(&IDeviceMgr::changeUserPin2);

const Rows kUnsupported = {
    Unsupported("GetOldKeyInfoIsEmpty", L"getOldKeyInfo", 5, kOldKeyInfo, {L"c1", L"pwd", L"type", I2(1)},
                L""),
    Unsupported("GetOldKeyInfoReadsNoArgument", L"getOldKeyInfo", 5, kOldKeyInfo,
                {NullText(), NullText(), NullText(), I2(-32768)}, L""),
    Unsupported("ChangeOldKeyPwdIsMinusOne", L"changeOldKeyPwd", 6, kOldKeyPwd,
                {L"c1", L"type", I2(1), L"old", L"new"}, I2(-1)),
    Unsupported("ChangeOldKeyPwdReadsNoArgument", L"changeOldKeyPwd", 6, kOldKeyPwd,
                {NullText(), NullText(), I2(0), NullText(), NullText()}, I2(-1)),
    Unsupported("GetKeySavedPassIsEmpty", L"getKeySavedPass", 9, kSavedPass, {L"SN01"}, L""),
    Unsupported("GetKeySavedPassReadsNoArgument", L"getKeySavedPass", 9, kSavedPass, {NullText()}, L""),
    Unsupported("ChangeUserPin2IsMinusOne", L"changeUserPin2", 12, kPin2,
                {L"CSP1", L"EXT1", L"old", L"new", L"new"}, I2(-1)),
    Unsupported("ChangeUserPin2ReadsNoArgument", L"changeUserPin2", 12, kPin2,
                {NullText(), NullText(), NullText(), NullText(), NullText()}, I2(-1)),
};
KZR_CASES(DeviceMgrUnsupported, kDeviceMgr, kUnsupported);

}  // namespace
}  // namespace kzr::test
