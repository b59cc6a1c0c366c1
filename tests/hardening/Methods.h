// All ninety scripted methods, and the ways to call them that no decent client would use.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>
#include <vector>

#include "component/TypeInfoTable.h"

namespace kzr::test {

struct HardenedMethod {
    const ScriptedClass* made;
    const ScriptedMethod* method;
    bool isControl;  // its arguments are converted by the control itself, and it has no table of its own
    unsigned slot;   // in a dual interface's table

    // "CCrypto.signedData"
    std::string Name() const;
    // Opens a dialog and waits for its end.
    bool IsModal() const { return method->id == -552; }
};

// 79 of the four objects and 11 of the control.
const std::vector<HardenedMethod>& AllMethods();
inline const ScriptedClass* const kScriptedClasses[] = {&kCertificate, &kCrypto, &kDeviceMgr, &kUtil,
                                                        &kControl};

// An argument that the method can do something with.
Value SampleFor(const ScriptedParameter& parameter);
Values SamplesFor(const ScriptedMethod& method);

// Something that was thrown out of the call, which no call may do.
inline constexpr HRESULT kThrown = static_cast<HRESULT>(0xDEAD0001);

// `Invoke` with a list as it stands, right or wrong; `result` may be null.
HRESULT InvokeAsIs(IDispatch* object, DISPID id, WORD flags, DISPPARAMS* parameters, VARIANT* result);
// The same with arguments first to last, given as bits that belong to the caller.
HRESULT InvokeWith(IDispatch* object, DISPID id, const std::vector<VARIANT>& arguments, VARIANT* result);

// Through the dual interface's table, with arguments first to last as bits that belong to the caller; the
// answer is dropped.
HRESULT CallByTable(IDispatch* object, const HardenedMethod& method, const std::vector<VARIANT>& arguments);

// The bits of values, which stay theirs.
std::vector<VARIANT> BitsOf(const Values& values);

}  // namespace kzr::test
