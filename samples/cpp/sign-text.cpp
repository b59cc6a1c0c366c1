// Signs a text with the key of a container and verifies the signature, through the dual interfaces.
//
// KzrSecX_h.h is made from the type library's IDL: midl /h KzrSecX_h.h KzrSecX.idl, or widl -h -o
// KzrSecX_h.h.
//     cl /EHsc /std:c++17 sign-text.cpp ole32.lib oleaut32.lib
//     x86_64-w64-mingw32-g++-posix -std=c++17 -municode -static sign-text.cpp -o sign-text.exe -lole32
//     -loleaut32 -luuid
// Usage: sign-text CONTAINER PIN TEXT     ends with 0, 1 when something was refused, 2 for wrong arguments
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "KzrSecX_h.h"

namespace {

// A text as automation wants it.
class Text {
  public:
    Text(const std::wstring& text = L"")
        : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {}
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(m_text); }

    operator BSTR() const { return m_text; }
    BSTR* Out()
    {
        SysFreeString(m_text);
        m_text = nullptr;
        return &m_text;
    }
    // A null pointer is an empty text.
    bool IsEmpty() const { return SysStringLen(m_text) == 0; }

  private:
    BSTR m_text;
};

template <class Interface>
class Object {
  public:
    explicit Object(const wchar_t* name)
    {
        CLSID clsid;
        if (FAILED(CLSIDFromProgID(name, &clsid)) ||
            FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                                    reinterpret_cast<void**>(&m_object))))
            throw std::runtime_error("an object could not be created: is the component registered?");
    }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    ~Object() { m_object->Release(); }
    Interface* operator->() const { return m_object; }

  private:
    Interface* m_object = nullptr;
};

int SignAndVerify(const wchar_t* container, const wchar_t* pin, const std::wstring& text)
{
    const Object<IDeviceMgr> manager(L"TOLVSecCOM.DeviceMgr");
    const Object<ICrypto> crypto(L"TOLVSecCOM.Crypto");
    const Object<ICertificate> certificate(L"TOLVSecCOM.Certificate");

    // A method's HRESULT is S_OK; its last argument tells how it went.
    short answer = -1;
    manager->userLoginEx(Text(), Text(container), Text(), Text(pin), &answer);
    std::wprintf(L"login             %d\n", answer);
    if (answer != 0) return 1;

    Text signature, signer;
    crypto->signedData(Text(text), Text(container), signature.Out());
    std::wprintf(L"signature         %ls\n", static_cast<const wchar_t*>(signature));
    if (signature.IsEmpty()) return 1;

    short imported = -1, good = -1, changed = 0;
    certificate->importCert(Text(container), 5, Text(), &imported);
    certificate->exportCert(1, Text(), signer.Out());
    crypto->verifySignedData(signature, signer, Text(text), &good);
    crypto->verifySignedData(signature, signer, Text(text + L"."), &changed);
    std::wprintf(L"the text          %d\na changed text    %d\n", good, changed);
    return imported == 0 && good == 0 && changed != 0 ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 4) {
        std::fwprintf(stderr, L"usage: sign-text CONTAINER PIN TEXT\n");
        return 2;
    }
    // The objects live in the apartment of the thread that creates them.
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
    int code = 1;
    try {
        code = SignAndVerify(arguments[1], arguments[2], arguments[3]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    CoUninitialize();
    return code;
}
