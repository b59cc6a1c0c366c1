// The scripted interfaces as data, for the tests that walk all methods.
#pragma once

#include <string>
#include <vector>

#include "support/ComponentTest.h"

namespace kzr::test {

struct ScriptedParameter {
    const wchar_t* name;
    VARTYPE type;
    bool optional = false;  // a text that a caller may leave out, and then passes ""
};

struct ScriptedMethod {
    DISPID id;
    const wchar_t* name;
    std::vector<ScriptedParameter> parameters;
    VARTYPE result;
};

struct ScriptedInterface {
    const wchar_t* name;
    const ScriptedClass* made;  // null for the events
    bool dual;
    std::vector<ScriptedMethod> methods;
};

const std::vector<ScriptedInterface>& ScriptedInterfaces();
const ScriptedInterface& InterfaceOf(const ScriptedClass& made);

}  // namespace kzr::test
