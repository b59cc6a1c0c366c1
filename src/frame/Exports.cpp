// The module's boundary: its entry point and the four exports, one call each.
#include <windows.h>
#include <objbase.h>

#include "com/ModuleCount.h"
#include "frame/Application.h"
#include "frame/ClassFactory.h"
#include "frame/ExceptionState.h"
#include "frame/Registration.h"

namespace {

kzr::CKzrSecXApp g_application;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds)
{
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            return g_application.InitInstance();
        case DLL_THREAD_DETACH:
            kzr::EndThreadExceptionState();
            break;
        case DLL_PROCESS_DETACH:
            if (!processEnds) g_application.ExitInstance();
            break;
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object)
{
    return kzr::GetClassObject(clsid, iid, object);
}

STDAPI DllCanUnloadNow() { return kzr::ModuleLockCount() > 0 ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() { return kzr::RegisterServer(); }

STDAPI DllUnregisterServer() { return kzr::UnregisterServer(); }
