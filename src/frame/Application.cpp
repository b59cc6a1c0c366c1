#include "frame/Application.h"

#include "cache/CacheManager.h"
#include "com/Lock.h"
#include "control/Creators.h"
#include "frame/ExceptionState.h"
#include "log/Log.h"
#include "objects/Creators.h"

namespace kzr {

bool CKzrSecXApp::InitInstance() noexcept
{
    if (!StartExceptionState()) return false;
    BackendLock().Create();
    CacheLock().Create();
    StartLog();
    m_started = true;
    return true;
}

// A path that cannot be built does not stop start-up: the lines go to standard output then.
void CKzrSecXApp::StartLog()
{
    try {
        InitLog("trace", LogFilePath().c_str());
    } catch (...) {
        InitLog("trace", "");
    }
}

void CKzrSecXApp::ExitInstance() noexcept
{
    if (!m_started) return;
    CCacheManager::Destroy();
    BackendLock().Delete();
    CacheLock().Delete();
    ForgetControl();
    ForgetObjects();
    EndExceptionState();
}

}  // namespace kzr
