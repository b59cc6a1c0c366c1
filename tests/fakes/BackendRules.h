// What the registered stand-in of the backend answers, as text: one rule a line, the first that fits counts.
//
//     # a comment
//     SOF_SignData = text signature of {1} by {0}
//     SOF_Login(c1/SN01, 1234) = bool true
//     SOF_Login = bool false
//     SOF_GenRandom = hresult 80070005
//     * = unknown
//
// Before "=" stands the method's name, "*" for any, with its arguments when only such a call is meant. They
// are compared as text: numbers in decimal, truth as "true" or "false", an empty value as nothing. Commas
// part them and blanks around them do not count.
//
// After "=" stands what the call gives:
//     text T        T; \uXXXX is a character, {0} to {9} are the arguments, {*} is all of them
//     i2 N, i4 N    a number
//     bool true     or false
//     empty         nothing, successfully
//     hresult X     a failure, in hexadecimal
//     fault         an access violation inside the backend
//     event         nothing, after raising the backend's event
//     unknown       there is no such method
//
// A rule for CreateInstance with "hresult" makes the control's creation fail.
//
// The environment variable KZR_TEST_BACKEND_RULES names a file of rules, in UTF-8. They are read when the
// control is made and come before the built-in ones, which stand in BackendRules.cpp: two users, Alice with
// container c1 on device SN01 (CSP1, EXT1) and Bob with c2 on SN02 (CSP2, EXT2); "yes" to what asks for yes
// or no; and for every other method its own call as a text: "SOF_SignData(c1/SN01,hello)".
#pragma once

#include <string>
#include <vector>

namespace kzr::fake {

struct Rule {
    std::wstring method;
    bool hasArguments = false;
    std::vector<std::wstring> arguments;
    std::wstring kind;
    std::wstring value;
};

class BackendRules {
  public:
    BackendRules();

    // Null when no rule fits; without arguments the first rule of that name.
    const Rule* Find(const std::wstring& method, const std::vector<std::wstring>* arguments) const;

  private:
    void Read(const std::string& utf8);
    std::vector<Rule> m_rules;
};

// A rule's text with its escapes and arguments put in.
std::wstring Rendered(const std::wstring& text, const std::vector<std::wstring>& arguments);
std::wstring Joined(const std::vector<std::wstring>& arguments);

}  // namespace kzr::fake
