// The fixture of the server's tests: keys in a folder of their own, the built DLL, and a control of it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "server/FailureCodes.h"
#include "server/Identifiers.h"
#include "softkey/support/SoftKeyHome.h"
#include "support/Dispatch.h"
#include "support/TestDll.h"
#include "support/Value.h"

namespace kzr::test {

using softkey::kServerClass;

std::wstring SoftKeyDll();

class ServerTest : public testing::Test {
  public:
    void SetUp() override;
    void TearDown() override;

    ComPtr<IDispatch> NewControl();
    CallResult Call(const wchar_t* method, const Values& arguments = {});
    // The answer of a call that must succeed.
    Value Ask(const wchar_t* method, const Values& arguments = {});
    std::wstring AskText(const wchar_t* method, const Values& arguments = {});
    // The HRESULT of a call that must leave the result alone.
    HRESULT Refusal(const wchar_t* method, const Values& arguments = {});
    void LogIn(const wchar_t* id);

    std::optional<SoftKeyHome> home;
    std::optional<TestDll> dll;
    ComPtr<IDispatch> control;
};

}  // namespace kzr::test
