// A control for whose cache there is no memory gets no window, and so takes no call.
#include <gtest/gtest.h>

#include "cache/CacheManager.h"
#include "com/ModuleCount.h"
#include "control/Creators.h"
#include "control/USBKeyPnPActiveXCtrl.h"
#include "log/Log.h"
#include "support/ComponentTest.h"
#include "support/NothrowNew.h"

namespace kzr::test {
namespace {

TEST(ControlWithoutMemory, ForTheCacheTheWindowFailsWithItsLineAndAsksNoBackend)
{
    SetLogLevelAndPath("trace", LogFilePath().c_str());
    CCacheManager::Destroy();
    LogReader log;
    {
        auto* const made = new CUSBKeyPnPActiveXCtrl(nullptr);
        const auto control = ComPtr<IUnknown>::Adopt(made->InnerUnknown());
        log.Take();
        const NothrowNewFails empty;
        EXPECT_FALSE(made->IsInvokeAllowed());
        EXPECT_EQ(nullptr, made->Window().Get());
        ExpectLog({Trace("CUSBKeyPnPActiveXCtrl: OnCreate starting..."),
                   Error("CUSBKeyPnPActiveXCtrl: OnCreate CCacheManager::Instance error!!!")},
                  log.Take(), "USBKeyPnPActiveXCtrl");
    }
    EXPECT_EQ(0, ModuleLockCount());
    ForgetControl();
}

}  // namespace
}  // namespace kzr::test
