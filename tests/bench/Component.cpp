#include "Component.h"

#include <cstdio>
#include <cstdlib>

namespace kzr::bench {

Component::Component(const std::wstring& path) : m_module(LoadLibraryW(path.c_str()))
{
    if (!m_module) Quit("the component could not be loaded");
}

Component::~Component() { FreeLibrary(m_module); }

void Component::Quit(const char* what)
{
    std::printf("failed: %s (%lu)\n", what, GetLastError());
    std::fflush(stdout);
    ExitProcess(1);
}

ComPtr<IClassFactory> Component::Factory(REFCLSID clsid) const
{
    using GetClassObjectEntry = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
    const auto entry = reinterpret_cast<GetClassObjectEntry>(
        reinterpret_cast<void*>(GetProcAddress(m_module, "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    if (!entry || FAILED(entry(clsid, IID_IClassFactory, factory.putVoid()))) Quit("no class object");
    return factory;
}

ComPtr<IClassFactory> Dictionary::Factory() const
{
    CLSID clsid;
    ComPtr<IClassFactory> factory;
    if (FAILED(CLSIDFromProgID(L"Scripting.Dictionary", &clsid)) ||
        FAILED(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, factory.putVoid())))
        Component::Quit("the platform has no scripting dictionary");
    return factory;
}

Dictionary::Dictionary()
{
    Factory()->CreateInstance(nullptr, IID_IDispatch, m_object.putVoid());
    if (!m_object) Component::Quit("the dictionary could not be made");
    wchar_t add[] = L"Add", item[] = L"Item";
    LPOLESTR name = add;
    DISPID adding = 0;
    m_object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &adding);
    name = item;
    m_object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &m_item);
    VARIANT entry[2] = {};
    for (VARIANT& each : entry) each.vt = VT_I4, each.lVal = 7;
    DISPPARAMS parameters{entry, nullptr, 2, 0};
    if (FAILED(m_object->Invoke(adding, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr,
                                nullptr, nullptr)))
        Component::Quit("the dictionary took no entry");
}

void Dictionary::Item() { InvokeNumber(m_object.Get(), m_item, DISPATCH_PROPERTYGET, 7); }

BSTR Text()
{
    static const BSTR text = SysAllocString(L"a text of some thirty-two units.");
    return text;
}

void Hash(ICrypto* crypto)
{
    BSTR answer = nullptr;
    crypto->Hash(Text(), &answer);
    if (SysStringLen(answer) == 0) Component::Quit("Hash gave no answer");
    SysFreeString(answer);
}

void InvokeNumber(IDispatch* object, DISPID id, WORD flags, long number)
{
    VARIANT argument{};
    argument.vt = VT_I4;
    argument.lVal = number;
    DISPPARAMS parameters{&argument, nullptr, 1, 0};
    VARIANT result{};
    if (FAILED(
            object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, &result, nullptr, nullptr)))
        Component::Quit("a call failed");
    VariantClear(&result);
}

}  // namespace kzr::bench
