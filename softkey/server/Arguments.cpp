#include "server/Arguments.h"

#include <cstring>

#include "base/Failure.h"
#include "com/Error.h"
#include "fault/Frames.h"
#include "server/WideText.h"

namespace kzr::softkey {
namespace {

// More than this is no text that a page passes, but a length word that is not one.
constexpr UINT kMaxTextBytes = 512u << 20;

[[noreturn]] void ThrowWrongType() { throw ComError(DISP_E_TYPEMISMATCH); }

// Reading a client's memory: a fault in it is the client's wrong type, not this process's end.
template <class Look>
auto LookAt(Look&& look)
{
    try {
        return CallForeign(look);
    } catch (const Fault&) {
        ThrowWrongType();
    }
}

// A BSTR as it lies in the client's memory.
struct TextPlace {
    const wchar_t* data;
    UINT bytes;
    bool isText;
};

// Script hosts pass variables as a reference to a VARIANT, which may itself be a reference, but no deeper.
const VARIANT* Dereferenced(const VARIANT* value)
{
    return LookAt([value] { return value->vt == (VT_BYREF | VT_VARIANT) ? value->pvarVal : value; });
}

std::string ReadText(const VARIANT* value)
{
    const TextPlace place = LookAt([value]() -> TextPlace {
        BSTR text = nullptr;
        if (value->vt == VT_BSTR)
            text = value->bstrVal;
        else if (value->vt == (VT_BYREF | VT_BSTR))
            text = *value->pbstrVal;
        else
            return {nullptr, 0, false};
        return {text, text ? reinterpret_cast<const UINT*>(text)[-1] : 0, true};
    });
    if (!place.isText || place.bytes > kMaxTextBytes) ThrowWrongType();
    std::wstring copy(place.bytes / sizeof(wchar_t), L'\0');
    wchar_t* const to = copy.data();
    const std::size_t size = copy.size() * sizeof(wchar_t);
    LookAt([&] { return size > 0 ? std::memcpy(to, place.data, size) : nullptr; });
    std::string utf8 = Utf8Of(copy);
    Wipe(copy.data(), size);
    return utf8;
}

struct Number {
    int value;
    bool isNumber;
};

Number NumberOf(const VARIANT* value)
{
    switch (value->vt) {
        case VT_I2:
            return {value->iVal, true};
        case VT_I4:
        case VT_INT:
            return {static_cast<int>(value->lVal), true};
        case VT_UI1:
            return {value->bVal, true};
        case VT_BYREF | VT_I2:
            return {*value->piVal, true};
        case VT_BYREF | VT_I4:
        case VT_BYREF | VT_INT:
            return {static_cast<int>(*value->plVal), true};
        default:
            return {0, false};
    }
}

int ReadNumber(const VARIANT* value)
{
    const Number number = LookAt([value] { return NumberOf(value); });
    if (!number.isNumber) ThrowWrongType();
    return number.value;
}

}  // namespace

Arguments::Arguments(const DISPPARAMS& parameters, std::string_view kinds, UINT& wrong)
    : m_values(kinds.size())
{
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        // Automation passes the last argument first.
        wrong = static_cast<UINT>(kinds.size() - 1 - i);
        const VARIANT* const value = Dereferenced(&parameters.rgvarg[wrong]);
        if (kinds[i] == 't')
            m_values[i].text = ReadText(value);
        else
            m_values[i].number = ReadNumber(value);
    }
}

const std::string& Arguments::Name(std::size_t index) const
{
    const std::string& name = Text(index);
    if (name.empty() || name.find('\0') != std::string::npos)
        throw Failure(Cause::BadArgument, "the name is empty or has a null character");
    return name;
}

}  // namespace kzr::softkey
