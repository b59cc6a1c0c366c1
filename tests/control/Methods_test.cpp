// The scripted methods, one row per case: lines, backend calls and results.
#include "ControlTest.h"
#include "support/Case.h"

namespace kzr::test {
namespace {

using Rows = std::vector<Case>;

// The window is made first; what that calls and writes has tests of its own.
void MakeWindow(ComponentTest&, IDispatch* control) { Call(control, L"EnumUsbKey"); }

std::string Line(const char* text) { return std::string("CUSBKeyPnPActiveXCtrl: ") + text; }

Case Row(const char* name, const wchar_t* method, DISPID id, const Values& arguments, const LogSteps& steps,
         const Value& retVal)
{
    return {.name = name,
            .method = method,
            .id = id,
            .arguments = arguments,
            .steps = steps,
            .retVal = retVal,
            .given = MakeWindow};
}

Case Unsupported(const char* name, const wchar_t* method, DISPID id, const Values& arguments,
                 const Value& retVal)
{
    const std::string ascii(method, method + std::wcslen(method));
    return Row(
        name, method, id, arguments,
        {Trace(Line((ascii + " starting...").c_str())), Notice(Line((ascii + " not support!").c_str()))},
        retVal);
}

const Rows kKept = {
    Row("EnumUsbKeyIsAlwaysEmpty", L"EnumUsbKey", 1, {},
        {Trace(Line("EnumUsbKey starting...")), Trace(Line("EnumUsbKey ending ok..."))}, L""),
    Row("RegisterDeviceInterfaceDoesNothing", L"RegisterDeviceInterface", 4, {},
        {Trace(Line("RegisterDeviceInterface starting...")),
         Trace(Line("RegisterDeviceInterface ending ok..."))},
        Empty()),
    Unsupported("SetLoginStateGivesZero", L"SetLoginState", 5, {L"c1", L"Alice"}, I4(0)),
    Unsupported("GetSavedPassGivesAnEmptyText", L"GetSavedPass", 6, {L"Alice"}, L""),
    Unsupported("GetPassSaveStateGivesZero", L"GetPassSaveState", 8, {L"Alice"}, I4(0)),
    Unsupported("SaveUserPassGivesZero", L"SaveUserPass", 9, {L"Alice", L"secret"}, I4(0)),
    Unsupported("DelUserPassGivesZero", L"DelUserPass", 10, {L"Alice"}, I4(0)),
    Unsupported("SetLoginStateTakesNullTexts", L"SetLoginState", 5, {NullText(), NullText()}, I4(0)),
};
KZR_CASES(ControlKeptMethods, kControl, kKept);

// getUserList with this answer of the backend's, which fails it.
Case ListFails(const char* name, const Answer& answer, HRESULT status)
{
    return Row(name, L"getUserList", 3, {},
               {Trace(Line("getUserList starting...")), Calls(L"SOF_GetUserList", {}, answer),
                Error(Line("getUserList call SOF_GetUserList return NULL!"), status)},
               L"");
}

LogSteps RefreshOf(const std::vector<User>& users)
{
    LogSteps steps = {Calls(L"SOF_GetUserList", {}, Answer(Value(UserListOf(users))))};
    for (const User& user : users) {
        steps.push_back(Calls(L"GetDeviceInfo", {user.device, I2(9)}, Answer(Value(user.csp))));
        steps.push_back(Calls(L"GetDeviceInfo", {user.device, I2(8)}, Answer(Value(user.extLib))));
        steps.push_back(Calls(L"GetDeviceInfo", {user.device, I2(7)}, Answer(Value(user.type))));
    }
    return steps;
}

Case ListOf(const char* name, const std::vector<User>& users, const wchar_t* list)
{
    const std::wstring wide(list);
    const std::string shown(wide.begin(), wide.end());
    return Row(name, L"getUserList", 3, {},
               LogSteps{Trace(Line("getUserList starting..."))} + RefreshOf(users) +
                   LogSteps{Trace(Line(("getUserList return Data(" + shown + ")...").c_str())),
                            Trace(Line("GetUserList ending ok..."))},
               list);
}

const Rows kLists = {
    ListOf("OneKeyWithTwoUsers", {{L"Alice", L"a", L"SN1", L"C", L"E"}, {L"Bob", L"b", L"SN1", L"C", L"E"}},
           L"Alice||a&&&Bob||b&&&"),
    ListOf("UsersComeInTheOrderOfTheirContainers",
           {{L"Bob", L"b", L"SN2", L"C", L"E"}, {L"Alice", L"a", L"SN1", L"C", L"E"}},
           L"Alice||a&&&Bob||b&&&"),
    ListOf("SoftDevicesStayOutAndTheListMayBeEmpty", {{L"Alice", L"a", L"SN1", L"C", L"E", L"SOFT"}}, L""),
    ListFails("AnEmptyListIsAnErrorLine", Answer(L""), S_OK),
    ListFails("AnAnswerThatIsNoTextCountsAsEmpty", Answer(I4(5)), S_OK),
    ListFails("AFailedCallGivesItsStatus", Fails(E_ACCESSDENIED), E_ACCESSDENIED),
    ListFails("AFailedCallsTextIsNotUsed", Fails(E_FAIL, L"Alice||a/SN1&&&"), E_FAIL),
};
KZR_CASES(ControlUserList, kControl, kLists);

Case Info(const char* name, const Values& arguments, const LogSteps& steps, const wchar_t* text)
{
    Case row = Row(name, L"getUserInfoByContainer", 2, arguments, {}, text);
    const std::wstring container = arguments[0].AsText();
    const std::string shown(container.begin(), container.end());
    const int type = arguments[1].Get().iVal;
    row.steps = LogSteps{Trace(Line("getUserInfoByContainer starting...")),
                         Trace(Line(("getUserInfoByContainer containerName(" + shown + ") type(" +
                                     std::to_string(type) + ")...")
                                        .c_str()))} +
                steps;
    return row;
}
// The same with the last line of a success.
Case InfoOk(const char* name, const Values& arguments, LogSteps steps, const wchar_t* text)
{
    const std::wstring wide(text);
    const std::string shown(wide.begin(), wide.end());
    steps.push_back(Trace(Line(("getUserInfoByContainer ending(" + shown + ")...").c_str())));
    return Info(name, arguments, steps, text);
}

LogStep Exports(const Answer& answer, const wchar_t* id = L"c1/SN01")
{
    return Calls(L"SOF_ExportUserCert", {id}, answer);
}
LogStep ExportsExchange(const Answer& answer, const wchar_t* id = L"c1/SN01")
{
    return Calls(L"SOF_ExportExChangeUserCert", {id}, answer);
}
LogStep Asks(int code, const Answer& answer)
{
    return Calls(L"SOF_GetCertInfo", {L"CERT", I2(code)}, answer);
}
LogStep ExportFailed(HRESULT status = S_OK)
{
    return Error(Line("getUserInfoByContainer call SOF_ExportUserCert return NULL!"), status);
}
LogStep InfoFailed(HRESULT status = S_OK)
{
    return Error(Line("getUserInfoByContainer call SOF_GetCertInfo return NULL!"), status);
}

Rows FixedTypes()
{
    Rows rows;
    for (const int type : {0, -1, 2, 3, 5, 6, 7, 9, 11, 12, 13, 16, 17, 40, 32767, -32768})
        rows.push_back(InfoOk(
            ("Type" + std::string(type < 0 ? "Minus" : "") + std::to_string(std::abs(type)) + "IsEmpty")
                .c_str(),
            {L"c1", I2(type)}, {}, L""));
    return rows;
}
KZR_CASES(ControlUserInfoWithoutAnswer, kControl, FixedTypes());

const Rows kInfos = {
    InfoOk("Type1IsTheSubjectsCommonName", {L"c1", I2(1)}, {Exports(L"CERT"), Asks(17, L"Alice")}, L"Alice"),
    InfoOk("Type4IsTheIssuersCommonName", {L"c1", I2(4)}, {Exports(L"CERT"), Asks(8, L"CA")}, L"CA"),
    InfoOk("ANameWithADeviceIsLookedUpByItsFirstPart", {L"c1/anything", I2(1)},
           {Exports(L"CERT"), Asks(17, L"Alice")}, L"Alice"),
    InfoOk("AnUnknownContainerAsksWithAnEmptyIdentifier", {L"nobody", I2(1)},
           {Exports(L"CERT", L""), Asks(17, L"x")}, L"x"),
    Info("Type1WithoutACertificateEndsAtOnce", {L"c1", I2(1)}, {Exports(L""), ExportFailed()}, L""),
    Info("Type1WithAFailingExportGivesItsStatus", {L"c1", I2(1)},
         {Exports(Fails(E_FAIL)), ExportFailed(E_FAIL)}, L""),
    Info("Type4WithAFailingExportDoesNotUseItsText", {L"c1", I2(4)},
         {Exports(Fails(E_FAIL, L"CERT")), ExportFailed(E_FAIL)}, L""),
    Info("Type1WithAnEmptyFactIsAnError", {L"c1", I2(1)}, {Exports(L"CERT"), Asks(17, L""), InfoFailed()},
         L""),
    Info("Type4WithAFailingFactGivesItsStatus", {L"c1", I2(4)},
         {Exports(L"CERT"), Asks(8, Fails(E_ACCESSDENIED, L"x")), InfoFailed(E_ACCESSDENIED)}, L""),
    Info("Type1WithABackendThatLacksTheMethodGivesTheLookUpsStatus", {L"c1", I2(1)},
         {Exports(UnknownName()), ExportFailed(DISP_E_UNKNOWNNAME)}, L""),
    InfoOk("Type8IsTheFixedDeviceType", {L"c1", I2(8)}, {}, L"TOLV_AUTO_USBKEY"),
    InfoOk("Type8IsTheFixedDeviceTypeOfAnUnknownContainerToo", {L"nobody", I2(8)}, {}, L"TOLV_AUTO_USBKEY"),
    InfoOk("Type10WithTwoDifferentCertificatesIsTwo", {L"c1", I2(10)}, {Exports(L"A"), ExportsExchange(L"B")},
           L"2"),
    InfoOk("Type10WithTheSameCertificateTwiceIsOne", {L"c1", I2(10)}, {Exports(L"A"), ExportsExchange(L"A")},
           L"1"),
    InfoOk("Type10WithOnlyASigningCertificateIsOne", {L"c1", I2(10)}, {Exports(L"A"), ExportsExchange(L"")},
           L"1"),
    InfoOk("Type10WithOnlyAnExchangeCertificateIsTwo", {L"c1", I2(10)}, {Exports(L""), ExportsExchange(L"B")},
           L"2"),
    InfoOk("Type10WithNoneIsZero", {L"c1", I2(10)}, {Exports(L""), ExportsExchange(L"")}, L"0"),
    InfoOk("Type10WithAFailingSigningExportAsksNoFurther", {L"c1", I2(10)}, {Exports(Fails(E_FAIL, L"A"))},
           L"0"),
    InfoOk("Type10WithAFailingExchangeExportIsZero", {L"c1", I2(10)},
           {Exports(L"A"), ExportsExchange(Fails(E_FAIL, L"B"))}, L"0"),
    InfoOk("Type14IsTheCspName", {L"c2", I2(14)}, {}, L"CSP2"),
    InfoOk("Type14OfAnUnknownContainerIsEmpty", {L"nobody", I2(14)}, {}, L""),
    InfoOk("Type15IsTheExtensionLibrary", {L"c2", I2(15)}, {}, L"EXT2"),
    InfoOk("Type15OfAnUnknownContainerIsEmpty", {L"nobody", I2(15)}, {}, L""),
    InfoOk("ANullContainerIsAnEmptyOne", {NullText(), I2(14)}, {}, L""),
};
KZR_CASES(ControlUserInfo, kControl, kInfos);

Case Keys(const char* name, const LogSteps& steps, const wchar_t* list)
{
    const std::wstring wide(list);
    const std::string shown(wide.begin(), wide.end());
    return Row(name, L"GetUSBKeyList", 7, {},
               LogSteps{Trace(Line("GetUSBKeyList starting..."))} + steps +
                   LogSteps{Trace(Line(("GetUSBKeyList return Data(" + shown + ")...").c_str()))},
               list);
}
Case KeysFail(const char* name, const Answer& answer, HRESULT status)
{
    return Row(name, L"GetUSBKeyList", 7, {},
               {Trace(Line("GetUSBKeyList starting...")), Calls(L"GetAllDeviceSN", {}, answer),
                Error(Line("GetUSBKeyList call GetAllDeviceSN return NULL!"), status)},
               L"");
}
LogStep Numbers(const wchar_t* numbers) { return Calls(L"GetAllDeviceSN", {}, Answer(numbers)); }
LogStep Device(const wchar_t* number, int code, const Answer& answer)
{
    return Calls(L"GetDeviceInfo", {number, I4(code)}, answer);
}
LogStep NoDevice() { return Notice(Line("GetUSBKeyList call GetDeviceInfo return NULL!")); }

const Rows kKeys = {
    Keys("OneKeyIsOneItem", {Numbers(L"K1;"), Device(L"K1", 9, L"CspA"), Device(L"K1", 8, L"LibA")},
         L"CspA||LibA&&&"),
    Keys("TwoKeysAreTwoItemsInTheBackendsOrder",
         {Numbers(L"K2;K1;"), Device(L"K2", 9, L"CspB"), Device(L"K2", 8, L"LibB"), Device(L"K1", 9, L"CspA"),
          Device(L"K1", 8, L"LibA")},
         L"CspB||LibB&&&CspA||LibA&&&"),
    Keys("AKeyWhoseFirstFactFailsIsLeftOutWithANotice",
         {Numbers(L"K1;K2;"), Device(L"K1", 9, Fails(E_FAIL, L"x")), NoDevice(), Device(L"K2", 9, L"CspB"),
          Device(L"K2", 8, L"LibB")},
         L"CspB||LibB&&&"),
    Keys("AKeyWhoseSecondFactIsEmptyIsLeftOutWithANotice",
         {Numbers(L"K1;K2;"), Device(L"K1", 9, L"CspA"), Device(L"K1", 8, L""), NoDevice(),
          Device(L"K2", 9, L"CspB"), Device(L"K2", 8, L"LibB")},
         L"CspB||LibB&&&"),
    Keys("NoKeyAnsweringIsAnEmptyList", {Numbers(L"K1;"), Device(L"K1", 9, L""), NoDevice()}, L""),
    Keys("ALastSerialNumberWithoutItsMarkIsOneAllTheSame",
         {Numbers(L"K1;K2"), Device(L"K1", 9, L"CspA"), Device(L"K1", 8, L"LibA"), Device(L"K2", 9, L"CspB"),
          Device(L"K2", 8, L"LibB")},
         L"CspA||LibA&&&CspB||LibB&&&"),
    Keys("AnOnlySerialNumberWithoutItsMarkIsOneAllTheSame",
         {Numbers(L"K1"), Device(L"K1", 9, L"CspA"), Device(L"K1", 8, L"LibA")}, L"CspA||LibA&&&"),
    Keys("AMarkAloneIsAnEmptySerialNumber", {Numbers(L";"), Device(L"", 9, L""), NoDevice()}, L""),
    KeysFail("NoKeysIsAnErrorLine", Answer(L""), S_OK),
    KeysFail("AnAnswerThatIsNoTextCountsAsNoKeys", Answer(I4(3)), S_OK),
    KeysFail("AFailedCallGivesItsStatus", Fails(E_ACCESSDENIED, L"K1;"), E_ACCESSDENIED),
};
KZR_CASES(ControlKeyList, kControl, kKeys);

TEST_F(ControlTest, AnEmptyUserListLeavesTheCacheAsItWas)
{
    backend->SetUsers(DefaultUsers());
    const auto control = MakeControl();
    EXPECT_EQ(Value(L"Alice||c1&&&Bob||c2&&&"), Call(control.Get(), L"getUserList").value);
    backend->SetUserList(L"");
    EXPECT_EQ(Value(L""), Call(control.Get(), L"getUserList").value);
    EXPECT_EQ(Value(L"CSP1"), Call(control.Get(), L"getUserInfoByContainer", {L"c1", I2(14)}).value);
}

// A call that comes while OnCreate is still waiting for the backend finds a window and no backend yet.
TEST_F(ControlTest, CallsInsideOnCreateSayThatNothingIsInitializedYet)
{
    ComPtr<IDispatch> control = MakeControl();
    Value lists[3];
    HRESULT unsupported = E_FAIL;
    bool asked = false;
    backend->At(Step::SetClientSite).Runs([&] {
        if (std::exchange(asked, true)) return;
        log->Take();
        lists[0] = Call(control.Get(), L"getUserList").value;
        lists[1] = Call(control.Get(), L"getUserInfoByContainer", {L"c1", I2(8)}).value;
        lists[2] = Call(control.Get(), L"GetUSBKeyList").value;
        unsupported = Call(control.Get(), L"GetSavedPass", {L"Alice"}).result;
        ExpectLog({Trace(Line("getUserList starting...")),
                   Error(Line("getUserList kzrappcom or cache not initialized!")),
                   Trace(Line("getUserInfoByContainer starting...")),
                   Error(Line("getUserInfoByContainer kzrappcom or cache not initialized!")),
                   Trace(Line("GetUSBKeyList starting...")),
                   Error(Line("GetUSBKeyList kzrappcom or cache not initialized!")),
                   Trace(Line("GetSavedPass starting...")), Notice(Line("GetSavedPass not support!"))},
                  log->Take(), kControl.source);
    });
    EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
    EXPECT_TRUE(asked);
    for (const Value& each : lists) EXPECT_EQ(Value(L""), each);
    EXPECT_EQ(S_OK, unsupported);
}

}  // namespace
}  // namespace kzr::test
