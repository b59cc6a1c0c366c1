// Waits until keys are plugged in or pulled, and prints the users that are there then.
//
// The control needs no window of the program's own, only a thread that looks for messages.
//     x86_64-w64-mingw32-g++-posix -std=c++17 -municode -static watch-keys.cpp -o watch-keys.exe -lole32
//     -loleaut32 -luuid
// Usage: watch-keys [EVENTS]     ends after so many events, else never
#include <windows.h>
#include <ocidl.h>
#include <oleauto.h>

#include <cstdio>
#include <cwchar>

#include "KzrSecX_h.h"

namespace {

// Calls a method that takes nothing, by its number, and prints the text that it gives.
void PrintText(IDispatch* control, DISPID number, const wchar_t* what)
{
    DISPPARAMS none{};
    VARIANT answer;
    VariantInit(&answer);
    if (SUCCEEDED(control->Invoke(number, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, &answer,
                                  nullptr, nullptr)) &&
        answer.vt == VT_BSTR)
        std::wprintf(L"%ls: %ls\n", what, answer.bstrVal ? answer.bstrVal : L"");
    std::fflush(stdout);
    VariantClear(&answer);
}

constexpr DISPID kGetUserList = 3;

// Hears the control's one event. It lives as long as main does, so it is never counted.
class Sink final : public IDispatch {
  public:
    Sink(IDispatch* control, long events) : m_control(control), m_left(events) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                           IsEqualIID(iid, __uuidof(_DUSBKeyPnPActiveXEvents));
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return *count = 0, S_OK; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        PrintText(m_control, kGetUserList, L"keys changed, users now");
        if (m_left > 0 && --m_left == 0) m_done = true;
        return S_OK;
    }
    bool IsDone() const { return m_done; }

  private:
    IDispatch* const m_control;
    long m_left;
    bool m_done = false;
};

// Until the sink has heard what it wants.
int Watch(IDispatch* control, long events)
{
    IConnectionPointContainer* container = nullptr;
    IConnectionPoint* point = nullptr;
    DWORD cookie = 0;
    Sink sink(control, events);
    if (FAILED(control->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container))))
        return 1;
    const HRESULT found = container->FindConnectionPoint(__uuidof(_DUSBKeyPnPActiveXEvents), &point);
    container->Release();
    if (FAILED(found)) return 1;
    const bool hears = SUCCEEDED(point->Advise(&sink, &cookie));
    if (hears) {
        // The first call makes the control listen to the keys.
        PrintText(control, kGetUserList, L"users");
        MSG message;
        while (!sink.IsDone() && GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
        point->Unadvise(cookie);
    }
    point->Release();
    return hears ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
    IDispatch* control = nullptr;
    int code = 1;
    if (SUCCEEDED(CoCreateInstance(__uuidof(USBKeyPnPActiveX), nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                   reinterpret_cast<void**>(&control)))) {
        code = Watch(control, count > 1 ? std::wcstol(arguments[1], nullptr, 10) : 0);
        control->Release();
    } else {
        std::fwprintf(stderr, L"the control could not be created: is the component registered?\n");
    }
    CoUninitialize();
    return code;
}
