// The fixture of the tests that run the component on top of the software key, nothing scripted in between.
//
//     const Value text = Run(kUtil, L"base64EncodeString", {L"text"},
//                            {Trace("CUtil: base64EncodeString starting..."), ...}, {"SOF_Base64Encode"});
//
// checks the lines that the object itself writes and the backend's methods that it calls, each in its order,
// and gives what a script gets.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>

#include "server/FailureCodes.h"
#include "softkey/support/SoftKeyHome.h"
#include "support/ComponentTest.h"

namespace kzr::test {

using Names = std::vector<std::string>;

class BenchTest : public testing::Test {
  public:
    void SetUp() override;
    void TearDown() override;

    ComPtr<IDispatch> Make(const ScriptedClass& made);
    // "{}" in a line stands for the returned value.
    Value Run(const ScriptedClass& tested, const wchar_t* method, const Values& arguments, LogSteps lines,
              const Names& calls);
    // A call whose lines another test looks at; it must succeed.
    Value Get(const ScriptedClass& tested, const wchar_t* method, const Values& arguments);
    void LogIn(const wchar_t* container);
    std::wstring File(const wchar_t* name, const std::string& content = "content");

    std::optional<SoftKeyHome> home;
    std::unique_ptr<LogReader> log;
    std::unique_ptr<TestDll> softKey;
    std::unique_ptr<TestDll> component;

  private:
    std::map<const ScriptedClass*, ComPtr<IDispatch>> m_objects;
    DWORD m_registration = 0;
};

// As a line shows a text of ASCII.
std::string Shown(const std::wstring& text);

}  // namespace kzr::test
