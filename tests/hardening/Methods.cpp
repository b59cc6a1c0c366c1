#include "Methods.h"

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

// The callee takes no more words than it has parameters, and the caller clears them away.
HRESULT CallSlot(IDispatch* object, unsigned slot, const std::vector<std::uint64_t>& words)
{
    using Word = std::uint64_t;
    using Method = HRESULT(STDMETHODCALLTYPE*)(void*, Word, Word, Word, Word, Word, Word);
    Word padded[kMostWords] = {};
    for (std::size_t i = 0; i < words.size() && i < kMostWords; ++i) padded[i] = words[i];
    const auto* const table = *reinterpret_cast<void***>(object);
    const auto method = reinterpret_cast<Method>(table[slot]);
    try {
        return method(object, padded[0], padded[1], padded[2], padded[3], padded[4], padded[5]);
    } catch (...) {
        return kThrown;
    }
}

}  // namespace kzr::test
