// The module's boundary: its entry point and the four exports; and what it gives back when it goes.
#include <windows.h>
#include <libxml/parser.h>
#include <openssl/crypto.h>

#include "com/ModuleCount.h"
#include "com/ModulePath.h"
#include "frame/ExceptionState.h"
#include "registration/BackendRegistration.h"
#include "server/ClassFactory.h"
#include "server/EventWindow.h"
#include "server/FailureCodes.h"
#include "server/Identifiers.h"
#include "server/PlugWatch.h"
#include "server/Sessions.h"
#include "server/UserConfig.h"

// Frees what the C++ runtime keeps for throwing when memory is short.
namespace __gnu_cxx {
void __freeres();
}

namespace kzr::softkey {
namespace {

// For a module that goes while its process lives on; at process end nothing of ours may run.
void GiveEverythingBack() noexcept
{
    Sessions::EndAll();
    UserConfig::Forget();
    EventWindow::ForgetClass();
    xmlCleanupParser();
    OPENSSL_cleanup();
    EndExceptionState();
    __gnu_cxx::__freeres();
}

}  // namespace
}  // namespace kzr::softkey

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds)
{
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            return kzr::StartExceptionState();
        case DLL_THREAD_DETACH:
            OPENSSL_thread_stop();
            kzr::EndThreadExceptionState();
            break;
        case DLL_PROCESS_DETACH:
            if (!processEnds) kzr::softkey::GiveEverythingBack();
            break;
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    return kzr::softkey::AtBoundary([&]() -> HRESULT {
        if (!IsEqualCLSID(clsid, kzr::softkey::kServerClass)) return CLASS_E_CLASSNOTAVAILABLE;
        return kzr::softkey::GetClassFactory(iid, object);
    });
}

STDAPI DllCanUnloadNow()
{
    kzr::softkey::PlugWatch::EndIfIdle();
    return kzr::ModuleLockCount() > 0 ? S_FALSE : S_OK;
}

// Another server that holds the class keeps it; softkey.exe can replace it.
STDAPI DllRegisterServer()
{
    return kzr::softkey::AtBoundary([]() -> HRESULT {
        try {
            kzr::softkey::RegisterBackend(kzr::ModulePath(), false);
        } catch (const kzr::softkey::BackendHeld&) {
            return kzr::softkey::kClassHeld;
        }
        return S_OK;
    });
}

STDAPI DllUnregisterServer()
{
    return kzr::softkey::AtBoundary([]() -> HRESULT {
        try {
            kzr::softkey::UnregisterBackend();
        } catch (const kzr::softkey::BackendHeld&) {
            return kzr::softkey::kClassHeld;
        }
        return S_OK;
    });
}
