// Rows of the methods that forward to the backend. A method states its facts once; from them come the rows of
// every outcome that its kind of answer has, and the rows of every way to name a container or a device.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/Case.h"

namespace kzr::test {

using Rows = std::vector<Case>;

// One call of a method: what is given, what the backend gets of it, and the lines around that.
struct Forwarding {
    std::string name;  // what the names of its rows begin with
    const wchar_t* method;
    DISPID id;
    DirectCall direct;
    Values arguments;
    LogSteps before;
    const wchar_t* backend;
    Values passed;
    LogSteps after;       // the lines of a good answer
    std::string failure;  // the line of a bad one
};

// The call, answered so, with what comes of it.
Case RowOf(const Forwarding& call, const std::string& name, const Answer& answer, const LogSteps& after,
           const Value& retVal);
// A call that the backend answers well: with a text, with true.
Case TextRow(const Forwarding& call, const std::string& name);
Case YesRow(const Forwarding& call, const std::string& name);

// What can come of a call that is good when it gives a text, ...
Rows TextOutcomes(const Forwarding& call);
// ... when it gives something that is true, ...
Rows YesNoOutcomes(const Forwarding& call);
// ... when it gives a code: the ending line is made of it. A failed call gives `failed`.
Rows CodeOutcomes(const Forwarding& call, const std::function<LogSteps(int code)>& ending, int failed);

// A way to name a device, and the entry of the user list that it finds ("" and "" when it finds none).
struct LookUp {
    std::string name;
    Value key;
    std::wstring container, device;
    std::vector<User> users;

    std::wstring Id() const { return container.empty() && device.empty() ? L"" : container + L"/" + device; }
};
std::vector<LookUp> LookUpsByContainer();
// By a text that several devices may share: `set` puts it into a user.
std::vector<LookUp> LookUpsByText(const wchar_t* text, std::wstring User::*field);
// One row for each; `make` is given the look-up and leaves the name to this.
Rows LookUpRows(const std::string& name, const std::vector<LookUp>& lookUps,
                const std::function<Case(const LookUp& lookUp)>& make);

// Arguments that automation refuses before the method is reached. Only by DISPID and by name.
Case TurnedAway(const Forwarding& call, const std::string& name, const Values& arguments, HRESULT result);
// The same row with arguments of other types, which automation converts to the ones it has.
Case GivenAs(Case row, const std::string& name, const Values& arguments);

Rows Join(std::initializer_list<Rows> parts);

// As a log line shows it: in the ANSI code page, up to its first null.
std::string Shown(const Value& value);

}  // namespace kzr::test
