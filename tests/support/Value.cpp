#include "support/Value.h"

#include <cstring>
#include <utility>

namespace kzr::test {
namespace {

// Of our own, since the platform's copy makes "" of a null text.
VARIANT DeepCopy(const VARIANT& from)
{
    VARIANT to = from;
    if (from.vt == VT_BSTR && from.bstrVal) {
        to.bstrVal = SysAllocStringByteLen(reinterpret_cast<const char*>(from.bstrVal),
                                           SysStringByteLen(from.bstrVal));
    } else if (from.vt != VT_BSTR && (from.vt & VT_BYREF) == 0) {
        VariantInit(&to);
        VariantCopy(&to, const_cast<VARIANT*>(&from));
    }
    return to;
}

Value Made(VARTYPE type, ULONGLONG bits)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = type;
    value.ullVal = bits;
    return Value(value);
}

ULONGLONG Significant(const VARIANT& value)
{
    switch (value.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return 0;
        case VT_I1:
        case VT_UI1:
            return value.bVal;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return value.uiVal;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_ERROR:
        case VT_R4:
            return value.ulVal;
        default:
            return value.ullVal;
    }
}

bool SameText(BSTR a, BSTR b)
{
    if (!a || !b) return a == b;
    const UINT size = SysStringByteLen(a);
    return size == SysStringByteLen(b) && std::memcmp(a, b, size) == 0;
}

}  // namespace

Value::Value(std::wstring_view text)
{
    VariantInit(&m_value);
    m_value.vt = VT_BSTR;
    m_value.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

Value::Value(const VARIANT& value) : m_value(DeepCopy(value)) {}

Value::Value(const Value& other)
    : m_value(other.m_raw ? other.m_value : DeepCopy(other.m_value)),
      m_raw(other.m_raw),
      m_target(other.m_target)
{}

Value::Value(Value&& other) noexcept
    : m_value(other.m_value), m_raw(other.m_raw), m_target(std::move(other.m_target))
{
    VariantInit(&other.m_value);
}

Value& Value::operator=(Value other) noexcept
{
    std::swap(m_value, other.m_value);
    std::swap(m_raw, other.m_raw);
    std::swap(m_target, other.m_target);
    return *this;
}

Value::~Value()
{
    if (!m_raw) VariantClear(&m_value);
}

Value Value::Adopt(VARIANT& value)
{
    Value taken;
    taken.m_value = value;
    VariantInit(&value);
    return taken;
}

Value Value::Raw(VARTYPE type, ULONGLONG bits)
{
    Value made;
    made.m_value.vt = type;
    made.m_value.ullVal = bits;
    made.m_raw = true;
    return made;
}

Value Value::ReferenceTo(const Value& target, bool asVariant)
{
    Value made;
    made.m_target = std::make_shared<Value>(target);
    VARIANT& pointed = made.m_target->m_value;
    made.m_value.vt = static_cast<VARTYPE>(VT_BYREF | (asVariant ? VARTYPE{VT_VARIANT} : pointed.vt));
    made.m_value.byref = asVariant ? static_cast<void*>(&pointed) : static_cast<void*>(&pointed.ullVal);
    return made;
}

VARIANT Value::Copy() const { return m_raw ? m_value : DeepCopy(m_value); }

std::wstring Value::AsText() const
{
    if (m_value.vt != VT_BSTR || !m_value.bstrVal) return {};
    return std::wstring(m_value.bstrVal, SysStringLen(m_value.bstrVal));
}

bool Value::operator==(const Value& other) const
{
    if (m_value.vt != other.m_value.vt) return false;
    if (m_value.vt == VT_BSTR) return SameText(m_value.bstrVal, other.m_value.bstrVal);
    return Significant(m_value) == Significant(other.m_value);
}

Value I2(int value) { return Made(VT_I2, static_cast<USHORT>(value)); }
Value I4(int value) { return Made(VT_I4, static_cast<ULONG>(value)); }
Value UI4(unsigned value) { return Made(VT_UI4, value); }
Value R8(double value)
{
    ULONGLONG bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return Made(VT_R8, bits);
}
Value Bool(bool value) { return Made(VT_BOOL, value ? 0xFFFF : 0); }
Value Empty() { return Value(); }
Value Null() { return Made(VT_NULL, 0); }
Value NullText() { return Made(VT_BSTR, 0); }
Value Bytes(std::string_view bytes)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocStringByteLen(bytes.data(), static_cast<UINT>(bytes.size()));
    return Value::Adopt(value);
}
Value Error(SCODE code) { return Made(VT_ERROR, static_cast<ULONG>(code)); }
Value Missing() { return Error(DISP_E_PARAMNOTFOUND); }
Value Object(IDispatch* object)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_DISPATCH;
    value.pdispVal = object;
    return Value(value);
}
Value ByRef(const Value& target) { return Value::ReferenceTo(target, false); }
Value ByVariant(const Value& target) { return Value::ReferenceTo(target, true); }

std::string Readable(std::wstring_view text)
{
    std::string readable;
    char buffer[8];
    for (const wchar_t unit : text) {
        if (unit >= 0x20 && unit < 0x7f) {
            readable += static_cast<char>(unit);
        } else {
            snprintf(buffer, sizeof(buffer), "\\u%04x", static_cast<unsigned>(unit));
            readable += buffer;
        }
    }
    return readable;
}

std::string Describe(const Value& value)
{
    const VARIANT& v = value.Get();
    switch (v.vt) {
        case VT_EMPTY:
            return "Empty()";
        case VT_NULL:
            return "Null()";
        case VT_I2:
            return "I2(" + std::to_string(v.iVal) + ")";
        case VT_I4:
            return "I4(" + std::to_string(v.lVal) + ")";
        case VT_UI4:
            return "UI4(" + std::to_string(v.ulVal) + ")";
        case VT_R8:
            return "R8(" + std::to_string(v.dblVal) + ")";
        case VT_BOOL:
            return v.boolVal ? "Bool(true)" : "Bool(false)";
        case VT_BSTR:
            break;
        default: {
            char buffer[48];
            snprintf(buffer, sizeof(buffer), "Raw(0x%x, 0x%llx)", v.vt, Significant(v));
            return buffer;
        }
    }
    if (!v.bstrVal) return "NullText()";
    std::string text = "\"" + Readable(value.AsText()) + "\"";
    if (SysStringByteLen(v.bstrVal) % 2) text += "+1 byte";
    return text;
}

std::string Describe(const Values& values)
{
    std::string text;
    for (const Value& value : values) text += (text.empty() ? "" : ", ") + Describe(value);
    return "(" + text + ")";
}

}  // namespace kzr::test
