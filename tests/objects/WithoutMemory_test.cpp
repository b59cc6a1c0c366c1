// Objects for whose cache there is no memory.
#include <gtest/gtest.h>

#include "cache/CacheManager.h"
#include "com/ModuleCount.h"
#include "log/Log.h"
#include "objects/Certificate.h"
#include "objects/Crypto.h"
#include "objects/DeviceMgr.h"
#include "objects/Util.h"
#include "support/ComponentTest.h"
#include "support/NothrowNew.h"

namespace kzr::test {
namespace {

template <class Object>
void ExpectNoCache(const std::string& className, const char* source)
{
    SCOPED_TRACE(className);
    SetLogLevelAndPath("trace", LogFilePath().c_str());
    CCacheManager::Destroy();
    LogReader log;
    {
        auto* const made = new Object(nullptr);
        const auto object = ComPtr<IUnknown>::Adopt(made->InnerUnknown());
        const NothrowNewFails empty;
        EXPECT_EQ(E_FAIL, made->FinalConstruct());
    }
    ExpectLog({Trace(className + "::FinalConstruct starting..."),
               Error(className + "::FinalConstruct CCacheManager::Instance error!!!")},
              log.Take(), source);
    EXPECT_EQ(0, ModuleLockCount());
}

TEST(WithoutMemory, ForTheCacheConstructionFailsWithItsLineAndAsksNoBackend)
{
    ExpectNoCache<CCertificate>("CCertificate", "Certificate");
    ExpectNoCache<CCrypto>("CCrypto", "Crypto");
    ExpectNoCache<CDeviceMgr>("CDeviceMgr", "DeviceMgr");
    ExpectNoCache<CUtil>("CUtil", "Util");
}

}  // namespace
}  // namespace kzr::test
