#include "Host.h"

#include <cstdio>

#include "KzrSecX_h.h"
#include "com/Bstr.h"

namespace usbkeyhost {
namespace {

constexpr wchar_t kProgId[] = L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1";
constexpr wchar_t kWindowClass[] = L"usbkeyhost";

std::string Hex(HRESULT result)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08lX", static_cast<unsigned long>(result));
    return text;
}

void Check(HRESULT result, const char* what)
{
    if (FAILED(result)) throw HostError(what, result);
}

HWND MakeWindow()
{
    WNDCLASSEXW made{};
    made.cbSize = sizeof(made);
    made.lpfnWndProc = DefWindowProcW;
    made.hInstance = GetModuleHandleW(nullptr);
    made.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // the arrow
    made.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    made.lpszClassName = kWindowClass;
    RegisterClassExW(&made);
    const HWND window = CreateWindowExW(0, kWindowClass, L"USBKeyPnPActiveX",
                                        WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN | WS_VISIBLE, CW_USEDEFAULT,
                                        CW_USEDEFAULT, 360, 240, nullptr, nullptr, made.hInstance, nullptr);
    if (!window) throw HostError("the window could not be made", HRESULT_FROM_WIN32(GetLastError()));
    return window;
}

std::string TextOf(VARIANT& value)
{
    if (value.vt == VT_EMPTY) return {};
    VARIANT text;
    VariantInit(&text);
    Check(VariantChangeType(&text, &value, 0, VT_BSTR), "the result is no text");
    std::string utf8 = ToUtf8(kzr::WideText(text.bstrVal));
    VariantClear(&text);
    return utf8;
}

}  // namespace

HostError::HostError(const std::string& what, HRESULT result)
    : std::runtime_error(what + " (" + Hex(result) + ")")
{}

std::string ToUtf8(const std::wstring& wide)
{
    const int length = static_cast<int>(wide.size());
    std::string utf8(static_cast<std::size_t>(
                         WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr)),
                     '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, utf8.data(), static_cast<int>(utf8.size()), nullptr,
                        nullptr);
    return utf8;
}

std::wstring ToWide(const std::string& utf8)
{
    const int length = static_cast<int>(utf8.size());
    std::wstring wide(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

STDMETHODIMP Sink::QueryInterface(REFIID iid, void** object)
{
    *object = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IDispatch) &&
        !IsEqualIID(iid, DIID__DUSBKeyPnPActiveXEvents))
        return E_NOINTERFACE;
    AddRef();
    *object = this;
    return S_OK;
}

STDMETHODIMP Sink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
{
    if (id == 1 && onEvent) onEvent();
    return S_OK;
}

Host::Host(std::function<void()> onEvent) : m_window(MakeWindow()), m_site(m_window)
{
    m_sink.onEvent = std::move(onEvent);
    MakeControl();
    Listen();
}

void Host::MakeControl()
{
    CLSID clsid{};
    Check(CLSIDFromProgID(kProgId, &clsid), "the control is not registered");
    Check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, m_control.putVoid()),
          "the control could not be made");
    Check(m_control->QueryInterface(IID_IOleObject, m_object.putVoid()), "the object is no control");
    Check(m_object->SetClientSite(&m_site), "the control takes no site");
    RECT place = m_site.Place();
    Check(m_object->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, &m_site, 0, m_window, &place),
          "the control could not be activated; is its backend installed?");
}

void Host::Listen()
{
    kzr::ComPtr<IConnectionPointContainer> points;
    Check(m_control->QueryInterface(IID_IConnectionPointContainer, points.putVoid()),
          "the control has no events");
    Check(points->FindConnectionPoint(DIID__DUSBKeyPnPActiveXEvents, m_events.put()),
          "the control lacks the event set");
    Check(m_events->Advise(&m_sink, &m_cookie), "the control takes no listener");
}

Host::~Host()
{
    if (m_events) m_events->Unadvise(m_cookie);
    if (m_object) {
        m_object->Close(OLECLOSE_NOSAVE);
        m_object->SetClientSite(nullptr);
    }
    m_events.Reset();
    m_object.Reset();
    m_control.Reset();
    if (IsOpen()) DestroyWindow(m_window);
}

std::string Host::Call(const std::string& name, const std::vector<std::string>& arguments)
{
    std::wstring wide = ToWide(name);
    LPOLESTR names = wide.data();
    DISPID id = 0;
    Check(m_control->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id),
          ("the control has no method " + name).c_str());
    // Last to first. Texts all of them: the control changes those that are to be numbers.
    std::vector<kzr::Bstr> texts;
    std::vector<VARIANT> reversed(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        texts.emplace_back(std::wstring_view(ToWide(arguments[arguments.size() - 1 - i])));
        reversed[i].vt = VT_BSTR;
        reversed[i].bstrVal = texts.back().Get();
    }
    DISPPARAMS parameters = {reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    VARIANT result;
    VariantInit(&result);
    Check(m_control->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &result, nullptr,
                            nullptr),
          ("calling " + name + " failed").c_str());
    std::string text = TextOf(result);
    VariantClear(&result);
    return text;
}

void Host::ShowProperties()
{
    RECT place = m_site.Place();
    Check(m_object->DoVerb(OLEIVERB_PROPERTIES, nullptr, &m_site, 0, m_window, &place),
          "the properties could not be shown");
}

}  // namespace usbkeyhost
