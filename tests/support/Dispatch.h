// Calls as a script makes them, by DISPID or by name, and the same method straight through the vtable.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>

#include "com/ComPtr.h"
#include "support/Value.h"

namespace kzr::test {

// A member by its number or by its name.
class Member {
  public:
    Member(DISPID id) : m_id(id) {}
    Member(const wchar_t* name) : m_name(name) {}
    // Looks a name up on the object.
    HRESULT Find(IDispatch* object, DISPID& id) const;

  private:
    DISPID m_id = 0;
    const wchar_t* m_name = nullptr;
};

struct CallResult {
    HRESULT result = E_FAIL;
    Value value;
    SCODE exception = 0;
    UINT argument = 0;
};

// Arguments first to last, as a script writes them.
CallResult Call(IDispatch* object, const Member& member, const Values& arguments = {},
                WORD flags = DISPATCH_METHOD);

// The same call through a dual interface's own table.
using DirectCall = std::function<CallResult(IDispatch* object, const Values& arguments)>;

namespace detail {

// One input of a vtable method, made of a value as automation would change it; a missing one is "" or 0.
template <class T>
class Input;
template <>
class Input<BSTR> {
  public:
    explicit Input(const Value* value);
    BSTR Get() const { return m_value.bstrVal; }
    Input(const Input&) = delete;
    ~Input() { VariantClear(&m_value); }

  private:
    VARIANT m_value;
};
long NumberOf(const Value* value, VARTYPE type);
template <>
class Input<short> {
  public:
    explicit Input(const Value* value) : m_value(static_cast<short>(NumberOf(value, VT_I2))) {}
    short Get() const { return m_value; }

  private:
    short m_value;
};
template <>
class Input<LONG> {
  public:
    explicit Input(const Value* value) : m_value(NumberOf(value, VT_I4)) {}
    LONG Get() const { return m_value; }

  private:
    LONG m_value;
};

// The output starts with something that no method answers, so that one left alone is seen.
inline constexpr short kUntouchedShort = 0x5A5A;
inline constexpr LONG kUntouchedLong = 0x5A5A5A5A;
inline Value OutputOf(short& output) { return I2(output); }
inline Value OutputOf(LONG& output) { return I4(output); }
Value OutputOf(BSTR& output);
template <class T>
T Untouched()
{
    if constexpr (std::is_same_v<T, short>) return kUntouchedShort;
    if constexpr (std::is_same_v<T, LONG>) return kUntouchedLong;
    return T();
}

template <class Tuple>
struct Signature;
template <class... Parameters>
struct Signature<std::tuple<Parameters...>> {
    static constexpr std::size_t kInputs = sizeof...(Parameters) - 1;
    using All = std::tuple<Parameters...>;
    using Out = std::remove_pointer_t<std::tuple_element_t<kInputs, All>>;
};

}  // namespace detail

// Direct(&ICrypto::Hash): calls it with a row's arguments and gives its last parameter as the value.
template <class Interface, class... Parameters>
DirectCall Direct(HRESULT (STDMETHODCALLTYPE Interface::*method)(Parameters...))
{
    return [method](IDispatch* object, const Values& arguments) {
        using namespace detail;
        using Shape = Signature<std::tuple<Parameters...>>;
        using Out = typename Shape::Out;
        CallResult called;
        ComPtr<Interface> dual;
        called.result = object->QueryInterface(__uuidof(Interface), dual.putVoid());
        if (FAILED(called.result)) return called;
        return [&]<std::size_t... Index>(std::index_sequence<Index...>)
        {
            Out output = Untouched<Out>();
            std::tuple<Input<std::tuple_element_t<Index, typename Shape::All>>...> inputs{
                (Index < arguments.size() ? &arguments[Index] : nullptr)...};
            called.result = (dual.Get()->*method)(std::get<Index>(inputs).Get()..., &output);
            called.value = OutputOf(output);
            return called;
        }
        (std::make_index_sequence<Shape::kInputs>());
    };
}

}  // namespace kzr::test
