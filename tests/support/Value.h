// A VARIANT for test tables: built by its type's name, compared with its type, printed in a readable form.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kzr::test {

class Value {
  public:
    Value() { VariantInit(&m_value); }
    Value(const wchar_t* text) : Value(std::wstring_view(text)) {}
    Value(const std::wstring& text) : Value(std::wstring_view(text)) {}
    explicit Value(std::wstring_view text);
    // A copy of somebody's VARIANT; a null text stays null.
    explicit Value(const VARIANT& value);
    Value(const Value& other);
    Value(Value&& other) noexcept;
    Value& operator=(Value other) noexcept;
    ~Value();

    // Takes over a VARIANT that the caller owns.
    static Value Adopt(VARIANT& value);
    // Any type with any bits, never freed: for what no builder below makes.
    static Value Raw(VARTYPE type, ULONGLONG bits);
    static Value ReferenceTo(const Value& target, bool asVariant);

    VARTYPE Type() const { return m_value.vt; }
    const VARIANT& Get() const { return m_value; }
    // A copy that the receiver owns.
    VARIANT Copy() const;
    // The whole text by its own length; "" for other types.
    std::wstring AsText() const;
    // What a reference points to.
    const Value& Target() const { return *m_target; }

    bool operator==(const Value& other) const;

  private:
    VARIANT m_value;
    bool m_raw = false;
    std::shared_ptr<Value> m_target;
};

using Values = std::vector<Value>;

// Builders, one for each shape that travels.
Value I2(int value);
Value I4(int value);
Value UI4(unsigned value);
Value R8(double value);
Value Bool(bool value);
Value Empty();
Value Null();
Value NullText();
Value Bytes(std::string_view bytes);  // a text with this many bytes, odd counts too
Value Error(SCODE code);
Value Missing();  // what an omitted optional argument looks like
Value Object(IDispatch* object);
Value ByRef(const Value& target);      // VT_BYREF of the target's type
Value ByVariant(const Value& target);  // VT_BYREF | VT_VARIANT, as VBScript passes its variables

// Printable ASCII as it stands, everything else by its number.
std::string Readable(std::wstring_view text);
std::string Describe(const Value& value);
std::string Describe(const Values& values);
inline void PrintTo(const Value& value, std::ostream* out) { *out << Describe(value); }

}  // namespace kzr::test
