#include "MixedUse.h"

#include <objsafe.h>
#include <ocidl.h>

#include <cstdio>

#include "KzrSecX_h.h"
#include "support/ComponentTest.h"

namespace kzr::test {
namespace {

constexpr std::size_t kMostObjects = 12;
constexpr int kMostTroubles = 5;

// What a badly called method may answer.
bool IsKnownAnswer(HRESULT answer)
{
    switch (answer) {
        case S_OK:
        case DISP_E_TYPEMISMATCH:
        case DISP_E_OVERFLOW:
        case DISP_E_BADVARTYPE:
        case DISP_E_BADPARAMCOUNT:
        case DISP_E_MEMBERNOTFOUND:
        case E_INVALIDARG:
            return true;
        default:
            return false;
    }
}

// Pieces of texts. None leads out of the folder that the host works in: one of the methods renames files.
const wchar_t* const kPieces[] = {L"c1",           L"c2/SN02",    L"/",    L"||",         L"&&&", L"fact",
                                  L"\x4E2D\x6587", L"\xD83D",     L"%s%n", L"2030/01/02", L" ",   L"A",
                                  L"-1",           L"9999999999", L"%n",   L"\r\n"};

ComPtr<IConnectionPoint> EventPointOf(IUnknown* control)
{
    ComPtr<IConnectionPointContainer> container;
    ComPtr<IConnectionPoint> point;
    if (SUCCEEDED(control->QueryInterface(IID_IConnectionPointContainer, container.putVoid())))
        container->FindConnectionPoint(__uuidof(_DUSBKeyPnPActiveXEvents), point.put());
    return point;
}

}  // namespace

MixedUse::MixedUse(ScriptedBackend& backend, const TestDll& dll, unsigned seed, Arguments arguments)
    : m_backend(backend), m_dll(dll), m_arguments(arguments), m_random(seed)
{}

void MixedUse::Step()
{
    ++m_steps;
    const unsigned what = Any(100);
    Remember(what);
    if (m_held.empty() || what < 3)
        MakeOne();
    else if (what < 6)
        DropOne();
    else if (what < 10)
        LookAtOne();
    else if (what < 12)
        FireEvent();
    else
        CallOne();
    m_backend.ForgetCalls();
}

std::string MixedUse::Describe() const
{
    return std::to_string(m_steps) + " steps: " + std::to_string(m_calls) + " calls, " +
           std::to_string(m_refused) + " of them refused, " + std::to_string(m_made) + " objects, " +
           std::to_string(m_events) + " events";
}

void MixedUse::Remember(std::uint64_t what)
{
    constexpr std::uint64_t kPrime = 0x100000001B3;
    m_story = (m_story ^ what) * kPrime;
}

void MixedUse::Complain(const std::string& what, HRESULT answer)
{
    if (++m_troubles > kMostTroubles) return;
    char text[64];
    std::snprintf(text, sizeof(text), " answered 0x%08lx in step %lld\n", static_cast<unsigned long>(answer),
                  m_steps);
    m_trouble += what + text;
}

void MixedUse::MakeOne()
{
    if (m_held.size() >= kMostObjects) return DropOne();
    Held held{kScriptedClasses[Any(std::size(kScriptedClasses))], nullptr, nullptr};
    const HRESULT made = m_dll.Create(held.made->clsid, IID_IDispatch, held.object.putVoid());
    Remember(static_cast<std::uint64_t>(made));
    if (FAILED(made) || !held.object) return Complain(std::string("making ") + held.made->name, made);
    if (held.made == &kControl) {
        // The first call gives it its window.
        Call(held.object.Get(), L"getUserList");
        held.sink = std::make_unique<EventSink>();
        if (const auto point = EventPointOf(held.object.Get())) point->Advise(held.sink.get(), &held.cookie);
    }
    ++m_made;
    m_held.push_back(std::move(held));
}

void MixedUse::Disconnect(Held& held)
{
    if (!held.sink) return;
    if (const auto point = EventPointOf(held.object.Get())) point->Unadvise(held.cookie);
}

void MixedUse::DropOne()
{
    const auto place = m_held.begin() + Any(static_cast<unsigned>(m_held.size()));
    Disconnect(*place);
    m_held.erase(place);
}

void MixedUse::DropAll()
{
    for (Held& held : m_held) Disconnect(held);
    m_held.clear();
}

std::wstring MixedUse::AnyText()
{
    std::wstring text;
    for (unsigned pieces = Any(6); pieces > 0; --pieces) text += kPieces[Any(std::size(kPieces))];
    if (Any(8) == 0) text += std::wstring(1, L'\0') + L"behind";
    if (Any(50) == 0) text.append(Any(5000), L'x');
    return text;
}

Value MixedUse::AnyValue(const ScriptedParameter& parameter)
{
    // A key file of a negative length ends in the guard by design. And whatever becomes of an invented name,
    // nothing may be renamed: the file that is not there stays the source.
    const std::wstring_view name(parameter.name);
    if (Any(2) == 0 || name == L"nMaxLen" || name == L"oldname") return SampleFor(parameter);
    if (m_arguments == Arguments::OfTheRightType) {
        const auto number = static_cast<int>(m_random());
        return parameter.type == VT_BSTR ? Value(AnyText())
               : parameter.type == VT_I2 ? I2(static_cast<short>(number))
                                         : I4(number);
    }
    switch (Any(12)) {
        case 0:
            return I2(static_cast<short>(m_random()));
        case 1:
            return I4(static_cast<int>(m_random()));
        case 2:
            return R8(static_cast<double>(m_random()) / 7);
        case 3:
            return Bool(Any(2) != 0);
        case 4:
            return Empty();
        case 5:
            return Null();
        case 6:
            return NullText();
        case 7:
            return Error(E_FAIL);
        case 8:
            return I2(static_cast<int>(Any(45)));
        default:
            return Value(AnyText());
    }
}

void MixedUse::CallOne()
{
    const std::vector<HardenedMethod>& methods = AllMethods();
    const Held& held = m_held[Any(static_cast<unsigned>(m_held.size()))];
    const HardenedMethod* method = nullptr;
    do method = &methods[Any(static_cast<unsigned>(methods.size()))];
    while (method->made != held.made || method->IsModal());

    Values values;
    bool asDeclared = true;
    for (const ScriptedParameter& parameter : method->method->parameters) {
        values.push_back(AnyValue(parameter));
        asDeclared &= values.back().Type() == parameter.type;
    }
    ++m_calls;
    Remember(static_cast<std::uint64_t>(method - methods.data()));
    HRESULT answer = S_OK;
    if (asDeclared && !method->isControl && Any(2) == 0) {
        answer = CallByTable(held.object.Get(), *method, BitsOf(values));
        Remember(static_cast<std::uint64_t>(answer));
        if (answer != S_OK) Complain(method->Name() + " by the table", answer);
        return;
    }
    if (m_arguments == Arguments::OfAnyType && Any(20) == 0) values.push_back(I4(1));
    VARIANT result;
    VariantInit(&result);
    answer = InvokeWith(held.object.Get(), method->method->id, BitsOf(values), Any(10) ? &result : nullptr);
    Remember(result.vt);
    VariantClear(&result);
    Remember(static_cast<std::uint64_t>(answer));
    m_refused += FAILED(answer);
    if (!IsKnownAnswer(answer)) Complain(method->Name() + test::Describe(values), answer);
}

// Other interfaces, names and the module's own questions, none of which change anything.
void MixedUse::LookAtOne()
{
    static const IID interfaces[] = {IID_IUnknown,       IID_IDispatch,   IID_IObjectSafety,
                                     IID_IOleObject,     IID_IViewObject, IID_IPersistStreamInit,
                                     IID_IQuickActivate, IID_IStream};
    IDispatch* const object = m_held[Any(static_cast<unsigned>(m_held.size()))].object.Get();
    ComPtr<IUnknown> found;
    const HRESULT asked = object->QueryInterface(interfaces[Any(std::size(interfaces))], found.putVoid());
    Remember(static_cast<std::uint64_t>(asked));
    if (SUCCEEDED(asked) != static_cast<bool>(found)) Complain("QueryInterface", asked);

    std::wstring name = AnyText();
    LPOLESTR names = name.data();
    DISPID id = 0;
    const HRESULT looked = object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    if (looked != DISP_E_UNKNOWNNAME) Complain("GetIDsOfNames", looked);
    ComPtr<ITypeInfo> info;
    if (const HRESULT told = object->GetTypeInfo(Any(2), 0, info.put());
        told != S_OK && told != DISP_E_BADINDEX)
        Complain("GetTypeInfo", told);
    if (const HRESULT unload = m_dll.CanUnloadNow(); unload != S_FALSE) Complain("DllCanUnloadNow", unload);
}

// Each control that is connected hears it once.
void MixedUse::FireEvent()
{
    PumpMessages();
    std::vector<int> before;
    for (const Held& held : m_held) before.push_back(held.sink ? held.sink->events : 0);
    m_backend.FireEvent(static_cast<DISPID>(Any(5)));
    PumpMessages();
    ++m_events;
    for (std::size_t i = 0; i < m_held.size(); ++i) {
        if (!m_held[i].sink) continue;
        const int heard = m_held[i].sink->events - before[i];
        Remember(static_cast<std::uint64_t>(heard));
        if (heard != 1) Complain("an event was heard " + std::to_string(heard) + " times and", S_OK);
    }
}

}  // namespace kzr::test
