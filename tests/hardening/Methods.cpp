#include "Methods.h"

#include <cstdint>

namespace kzr::test {
namespace {

// The most that a method has, with the pointer to its result.
constexpr std::size_t kMostWords = 6;

// Behind IUnknown's three and IDispatch's four; then in the order of the description.
constexpr unsigned kFirstSlot = 7;

std::vector<HardenedMethod> Gather()
{
    std::vector<HardenedMethod> all;
    for (const ScriptedInterface& each : ScriptedInterfaces()) {
        if (!each.made) continue;
        unsigned slot = kFirstSlot;
        for (const ScriptedMethod& method : each.methods)
            all.push_back({each.made, &method, !each.dual, slot++});
    }
    return all;
}

}  // namespace

std::string HardenedMethod::Name() const
{
    const std::wstring_view name(method->name);
    return std::string(made->name) + "." + std::string(name.begin(), name.end());
}

const std::vector<HardenedMethod>& AllMethods()
{
    static const std::vector<HardenedMethod> all = Gather();
    return all;
}

Value SampleFor(const ScriptedParameter& parameter)
{
    switch (parameter.type) {
        case VT_I2:
            return I2(1);
        case VT_I4:
            return I4(1);
        default:
            return Value(L"c1");
    }
}

Values SamplesFor(const ScriptedMethod& method)
{
    Values samples;
    for (const ScriptedParameter& parameter : method.parameters) samples.push_back(SampleFor(parameter));
    return samples;
}

HRESULT InvokeAsIs(IDispatch* object, DISPID id, WORD flags, DISPPARAMS* parameters, VARIANT* result)
{
    EXCEPINFO exception{};
    UINT argument = 0;
    HRESULT answer = kThrown;
    try {
        answer = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, parameters, result, &exception,
                                &argument);
    } catch (...) {
    }
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    return answer;
}

HRESULT InvokeWith(IDispatch* object, DISPID id, const std::vector<VARIANT>& arguments, VARIANT* result)
{
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPPARAMS parameters{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    return InvokeAsIs(object, id, DISPATCH_METHOD, &parameters, result);
}

// One word for each parameter, whatever its type, and one for the pointer to the result. The callee takes no
// more words than it has parameters, and the caller clears them away.
HRESULT CallByTable(IDispatch* object, const HardenedMethod& method, const std::vector<VARIANT>& arguments)
{
    using Word = std::uint64_t;
    using Entry = HRESULT(STDMETHODCALLTYPE*)(void*, Word, Word, Word, Word, Word, Word);
    Word output = 0;
    Word words[kMostWords] = {};
    std::size_t count = 0;
    for (const VARIANT& argument : arguments)
        words[count++] = argument.vt == VT_BSTR ? reinterpret_cast<Word>(argument.bstrVal)
                                                : static_cast<Word>(argument.lVal);
    words[count] = reinterpret_cast<Word>(&output);
    const auto* const table = *reinterpret_cast<void***>(object);
    const auto entry = reinterpret_cast<Entry>(table[method.slot]);
    HRESULT answer = kThrown;
    try {
        answer = entry(object, words[0], words[1], words[2], words[3], words[4], words[5]);
    } catch (...) {
    }
    if (method.method->result == VT_BSTR) SysFreeString(reinterpret_cast<BSTR>(output));
    return answer;
}

std::vector<VARIANT> BitsOf(const Values& values)
{
    std::vector<VARIANT> bits;
    for (const Value& value : values) bits.push_back(value.Get());
    return bits;
}

}  // namespace kzr::test
