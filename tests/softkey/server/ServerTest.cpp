#include "softkey/server/ServerTest.h"

#include "support/ComponentTest.h"

namespace kzr::test {

std::wstring SoftKeyDll() { return Widened(KZR_SOFTKEY_DLL); }

void ServerTest::SetUp()
{
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    home.emplace();
    dll.emplace(SoftKeyDll());
    ASSERT_TRUE(*dll);
    control = NewControl();
    ASSERT_TRUE(control);
}

void ServerTest::TearDown()
{
    control.Reset();
    // A login keeps the watch, and with it the module; pulling the keys ends both.
    for (const char* key : {"SN01", "SN02"}) {
        if (home->Store().Find(key)) home->Pull(key);
    }
    EXPECT_TRUE(PumpUntil([this] { return dll->CanUnloadNow() == S_OK; })) << "something is still alive";
    dll.reset();
    home.reset();
    CoUninitialize();
}

ComPtr<IDispatch> ServerTest::NewControl() { return dll->Create<IDispatch>(kServerClass); }

CallResult ServerTest::Call(const wchar_t* method, const Values& arguments)
{
    return kzr::test::Call(control.Get(), method, arguments);
}

Value ServerTest::Ask(const wchar_t* method, const Values& arguments)
{
    const CallResult called = Call(method, arguments);
    EXPECT_EQ(S_OK, called.result) << Readable(method) << std::hex << " failed: " << called.result;
    return called.value;
}

std::wstring ServerTest::AskText(const wchar_t* method, const Values& arguments)
{
    const Value value = Ask(method, arguments);
    EXPECT_EQ(VT_BSTR, value.Type()) << Readable(method);
    return value.AsText();
}

HRESULT ServerTest::Refusal(const wchar_t* method, const Values& arguments)
{
    const CallResult called = Call(method, arguments);
    EXPECT_EQ(Empty(), called.value) << Readable(method);
    return called.result;
}

void ServerTest::LogIn(const wchar_t* id) { EXPECT_EQ(Bool(true), Ask(L"SOF_Login", {id, kWidePin})); }

}  // namespace kzr::test
