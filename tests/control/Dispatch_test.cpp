// The control's IDispatch: names, arguments in every form that clients send, refusals, and what becomes of a
// fault.
#include "ControlTest.h"

namespace kzr::test {
namespace {

constexpr DISPID kUserInfo = 2;

class ControlDispatch : public ControlTest {
  public:
    void SetUp() override
    {
        ControlTest::SetUp();
        backend->SetUsers(DefaultUsers());
        control = MakeControl();
    }
    void TearDown() override
    {
        control.Reset();
        ControlTest::TearDown();
    }
    CallResult Info(const Values& arguments) { return Call(control.Get(), kUserInfo, arguments); }

    ComPtr<IDispatch> control;
};

TEST_F(ControlDispatch, EveryMethodIsFoundByItsNameInAnyCase)
{
    const std::pair<const wchar_t*, DISPID> names[] = {{L"EnumUsbKey", 1},
                                                       {L"getUserInfoByContainer", 2},
                                                       {L"getUserList", 3},
                                                       {L"SetLoginState", 5},
                                                       {L"RegisterDeviceInterface", 4},
                                                       {L"GetSavedPass", 6},
                                                       {L"GetUSBKeyList", 7},
                                                       {L"GetPassSaveState", 8},
                                                       {L"SaveUserPass", 9},
                                                       {L"DelUserPass", 10},
                                                       {L"AboutBox", -552},
                                                       {L"GETUSERLIST", 3},
                                                       {L"aboutbox", -552}};
    for (const auto& [name, expected] : names) {
        DISPID id = 0;
        EXPECT_EQ(S_OK, Member(name).Find(control.Get(), id)) << Readable(name);
        EXPECT_EQ(expected, id) << Readable(name);
    }
    DISPID id = 0;
    EXPECT_EQ(DISP_E_UNKNOWNNAME, Member(L"Nonsense").Find(control.Get(), id));
}

TEST_F(ControlDispatch, TheTypeInformationIsThatOfTheDispatchInterface)
{
    UINT count = 0;
    EXPECT_EQ(S_OK, control->GetTypeInfoCount(&count));
    EXPECT_EQ(1u, count);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(S_OK, control->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put()));
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, info->GetTypeAttr(&attributes));
    EXPECT_TRUE(IsEqualGUID(DIID__DUSBKeyPnPActiveX, attributes->guid));
    EXPECT_EQ(11, attributes->cFuncs);
    info->ReleaseTypeAttr(attributes);
    EXPECT_EQ(DISP_E_BADINDEX, control->GetTypeInfo(1, LOCALE_USER_DEFAULT, info.put()));
}

TEST_F(ControlDispatch, ArgumentsComeInEveryForm)
{
    const Values containers = {L"c2", ByRef(L"c2"), ByVariant(L"c2"), ByVariant(ByRef(L"c2"))};
    const Values types = {I2(14),
                          I4(14),
                          UI4(14),
                          R8(14.0),
                          Value(L"14"),
                          ByRef(I2(14)),
                          ByRef(I4(14)),
                          ByVariant(I2(14)),
                          ByVariant(I4(14)),
                          ByRef(R8(13.6)),
                          ByVariant(Value(L"14"))};
    for (const Value& container : containers) {
        for (const Value& type : types) {
            const CallResult called = Info({container, type});
            EXPECT_EQ(S_OK, called.result) << Describe({container, type});
            EXPECT_EQ(Value(L"CSP2"), called.value) << Describe({container, type});
        }
    }
}

TEST_F(ControlDispatch, ANumberForATextIsItsText)
{
    backend->SetUsers({{L"Alice", L"12", L"SN", L"CSP12", L"E"}});
    Call(control.Get(), L"getUserList");
    EXPECT_EQ(Value(L"CSP12"), Info({I4(12), I2(14)}).value);
}

TEST_F(ControlDispatch, NamedArgumentsAreTakenByTheirPositions)
{
    VARIANTARG arguments[2];
    Value name(L"c2");
    arguments[0] = name.Get();
    arguments[1].vt = VT_I2;
    arguments[1].iVal = 14;
    DISPID positions[] = {0, 1};
    DISPPARAMS parameters = {arguments, positions, 2, 2};
    VARIANT result;
    VariantInit(&result);
    EXPECT_EQ(S_OK, control->Invoke(kUserInfo, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                                    &result, nullptr, nullptr));
    EXPECT_EQ(Value(L"CSP2"), Value::Adopt(result));
    positions[1] = 7;
    EXPECT_EQ(DISP_E_PARAMNOTFOUND, control->Invoke(kUserInfo, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                                                    &parameters, nullptr, nullptr, nullptr));
}

TEST_F(ControlDispatch, WhatCannotBeChangedNamesItsArgument)
{
    CallResult called = Info({L"c2", L"no number"});
    EXPECT_EQ(DISP_E_TYPEMISMATCH, called.result);
    EXPECT_EQ(0u, called.argument);
    called = Info({L"c2", I4(70000)});
    EXPECT_EQ(DISP_E_OVERFLOW, called.result);
    called = Info({Null(), I2(14)});
    EXPECT_EQ(DISP_E_TYPEMISMATCH, called.result);
    EXPECT_EQ(1u, called.argument);
    EXPECT_TRUE(FAILED(Info({L"c2", Missing()}).result));
}

TEST_F(ControlDispatch, ArgumentsTooManyOrTooFewAreRefused)
{
    for (const Values& arguments : {Values{}, Values{L"c2"}, Values{L"c2", I2(14), I2(1)}})
        EXPECT_EQ(DISP_E_BADPARAMCOUNT, Info(arguments).result);
    EXPECT_EQ(DISP_E_BADPARAMCOUNT, Call(control.Get(), L"EnumUsbKey", {I2(1)}).result);
}

TEST_F(ControlDispatch, OnlyMethodCallsOfKnownNumbersAreAnswered)
{
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(control.Get(), DISPID(11)).result);
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(control.Get(), DISPID(0)).result);
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(control.Get(), DISPID(1), {}, DISPATCH_PROPERTYGET).result);
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(control.Get(), DISPID(1), {}, DISPATCH_PROPERTYPUT).result);
    EXPECT_EQ(S_OK, Call(control.Get(), DISPID(1), {}, DISPATCH_METHOD | DISPATCH_PROPERTYGET).result);
}

TEST_F(ControlDispatch, AForeignInterfaceIdentifierAndMissingParametersAreRefused)
{
    DISPPARAMS none{};
    EXPECT_EQ(DISP_E_UNKNOWNINTERFACE,
              control->Invoke(1, IID_IDispatch, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr));
    EXPECT_EQ(E_POINTER,
              control->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(ControlDispatch, ACallWithoutARoomForTheResultIsMadeAllTheSame)
{
    DISPPARAMS none{};
    log->Take();
    EXPECT_EQ(S_OK, control->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr));
    EXPECT_NE(std::string::npos, DescribeLog(log->Take()).find("EnumUsbKey ending ok..."));
}

TEST_F(ControlDispatch, EveryFaultIsAFailedCallWithExceptionInformationAndOneLine)
{
    allowFatalErrors = true;
    Call(control.Get(), L"EnumUsbKey");
    for (const FaultKind kind : kAllFaults) {
        SCOPED_TRACE(NameOf(kind));
        backend->ForgetEverything();
        backend->Expect(L"GetAllDeviceSN", {}, Faults(kind));
        log->Take();
        DISPPARAMS none{};
        EXCEPINFO exception{};
        VARIANT result;
        VariantInit(&result);
        EXPECT_EQ(DISP_E_EXCEPTION, control->Invoke(7, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none,
                                                    &result, &exception, nullptr));
        EXPECT_EQ(VT_EMPTY, result.vt);
        EXPECT_TRUE(FAILED(exception.scode));
        EXPECT_STREQ(L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1", exception.bstrSource);
        EXPECT_STREQ(L"Invoke CUSBKeyPnPActiveXCtrl dispid(7): receive a fatal error!!!",
                     exception.bstrDescription);
        SysFreeString(exception.bstrSource);
        SysFreeString(exception.bstrDescription);
        ExpectLog({Trace("CUSBKeyPnPActiveXCtrl: GetUSBKeyList starting..."), CallLine(L"GetAllDeviceSN", {}),
                   Error("Invoke CUSBKeyPnPActiveXCtrl dispid(7): receive a fatal error!!!")},
                  log->Take(), kControl.source);
        // The lock is free again, and the control lives on.
        EXPECT_EQ(S_OK, Call(control.Get(), L"getUserList").result);
    }
}

TEST_F(ControlDispatch, AFaultIsSurvivedWithoutRoomForExceptionInformation)
{
    allowFatalErrors = true;
    Call(control.Get(), L"EnumUsbKey");
    backend->Expect(L"GetAllDeviceSN", {}, Faults(FaultKind::Read));
    DISPPARAMS none{};
    EXPECT_EQ(DISP_E_EXCEPTION, control->Invoke(7, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none,
                                                nullptr, nullptr, nullptr));
}

TEST_F(ControlDispatch, AnArgumentThatPointsNowhereIsAFailedCall)
{
    allowFatalErrors = true;
    FaultCounter::Allow(1);
    const CallResult called = Info({Value::Raw(VT_BYREF | VT_BSTR, 8), I2(14)});
    EXPECT_TRUE(FAILED(called.result));
    EXPECT_EQ(Value(L"CSP2"), Info({L"c2", I2(14)}).value);
}

TEST_F(ControlDispatch, TheControlMayBeReleasedInsideItsOwnCall)
{
    Call(control.Get(), L"EnumUsbKey");
    IDispatch* const bare = control.Get();
    backend->Expect(L"GetAllDeviceSN", {}, Answer(L"").Running([&] { control.Reset(); }));
    const CallResult called = Call(bare, DISPID(7));
    EXPECT_EQ(S_OK, called.result);
    EXPECT_EQ(Value(L""), called.value);
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

}  // namespace
}  // namespace kzr::test
