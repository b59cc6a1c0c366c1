// One row of a method table, as data, and the runner that puts it to the test in every way a client may call.
//
//     const std::vector<Case> kCases = {
//         {.name = "SignedDataGivesTheBackendsText",
//          .method = L"signedData", .id = 5, .direct = Direct(&ICrypto::signedData),
//          .arguments = {L"text", L"c1"},
//          .steps = {Trace("CCrypto: signedData starting..."),
//                    Trace("CCrypto: signedData containerName(c1)..."),
//                    Calls(L"SOF_SignData", {L"c1/SN01", L"text"}, L"signature"),
//                    Trace("CCrypto: signedData ending ok...")},
//          .retVal = L"signature"},
//     };
//     KZR_CASES(CryptoSigning, kCrypto, kCases);
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/ComponentTest.h"

namespace kzr::test {

struct Case {
    std::string name;
    const wchar_t* method = L"";
    DISPID id = 0;
    DirectCall direct = nullptr;  // the vtable method, where the class has one
    Values arguments = {};
    LogSteps steps = {};  // lines and backend calls in their order: no more, no fewer
    Value retVal = {};
    HRESULT result = S_OK;
    // Who the backend says is there when the object is made.
    std::vector<User> users = DefaultUsers();
    // Runs before the call, on the finished object; what it calls and writes is not looked at.
    std::function<void(ComponentTest& test, IDispatch* object)> given = nullptr;
    // Runs after the call, for what a row cannot say.
    std::function<void(ComponentTest& test, IDispatch* object)> then = nullptr;
    bool mayFault = false;  // the row's call ends in the guard
};

// Runs it by DISPID, by name and, given `direct`, through the vtable, each with the DLL loaded anew.
void RunCase(ComponentTest& test, const ScriptedClass& tested, const Case& row);

// Makes each row a test of its own, called suite.name, and one more of all of them with a log that cannot be
// written, which compares everything but the lines.
bool RegisterCases(const char* suite, const char* file, int line, const ScriptedClass& tested,
                   const std::vector<Case>& rows);

}  // namespace kzr::test

#define KZR_CASES(suite, tested, rows)                    \
    [[maybe_unused]] const bool k##suite##AreRegistered = \
        ::kzr::test::RegisterCases(#suite, __FILE__, __LINE__, tested, rows)
