// What the rows of CCertificate share: a certificate that is loaded already, and joined steps.
#pragma once

#include <functional>
#include <string>

#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {

inline LogSteps operator+(LogSteps first, const LogSteps& more)
{
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

// A row's beginning: this text is the current certificate.
inline std::function<void(ComponentTest&, IDispatch*)> Loaded(const Value& certificate)
{
    return [certificate](ComponentTest&, IDispatch* object) {
        EXPECT_EQ(I2(0), Call(object, L"importCert", {certificate, I2(1)}).value);
    };
}

// Automation refuses the arguments: no method is reached, and the vtable has no such call.
inline Case OnlyByDispatch(const std::string& name, const wchar_t* method, DISPID id, const Values& arguments,
                           HRESULT result)
{
    return {.name = name, .method = method, .id = id, .arguments = arguments, .result = result};
}

}  // namespace kzr::test
