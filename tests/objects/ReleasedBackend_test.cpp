// Objects whose backend instance has been released under them, as a holder that gives it back once too often
// would do: each call fails like a backend call that failed.
#include <gtest/gtest.h>

#include <optional>

#include "backend/AxKzrApp.h"
#include "cache/CacheManager.h"
#include "com/Lock.h"
#include "log/Log.h"
#include "objects/Crypto.h"
#include "support/Case.h"

namespace kzr::test {
namespace {

class ReleasedBackend : public testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        SetLogLevelAndPath("trace", LogFilePath().c_str());
        BackendLock().Create();
        CacheLock().Create();
        m_backend.emplace();
        m_backend->SetUsers(DefaultUsers());
        auto* const made = new CCrypto(nullptr);
        m_crypto = ComPtr<IUnknown>::Adopt(made->InnerUnknown());
        ASSERT_EQ(S_OK, made->FinalConstruct());
        CAxKzrApp::Release();
        m_backend->ForgetCalls();
        m_log.Take();
    }

    void TearDown() override
    {
        m_crypto = {};
        EXPECT_EQ(0, m_backend->LiveControls());
        CCacheManager::Destroy();
        CacheLock().Delete();
        BackendLock().Delete();
        m_backend.reset();
        CoUninitialize();
    }

    CallResult Calling(const DirectCall& method, const Values& arguments)
    {
        ComPtr<IDispatch> dual;
        EXPECT_EQ(S_OK, m_crypto->QueryInterface(IID_IDispatch, dual.putVoid()));
        const CallResult called = method(dual.Get(), arguments);
        EXPECT_EQ(S_OK, called.result);
        EXPECT_TRUE(m_backend->AllCalls().empty());
        return called;
    }

    const LogStep m_released = Error("CAxKzrApp::InvokeMethod have released!!!").From("AxKzrApp");
    std::optional<ScriptedBackend> m_backend;
    ComPtr<IUnknown> m_crypto;
    LogReader m_log;
};

TEST_F(ReleasedBackend, FailsATextMethodWithItsOwnLine)
{
    EXPECT_EQ(Value(L""), Calling(Direct(&ICrypto::signedData), {L"text", L"c1"}).value);
    ExpectLog({Trace("CCrypto: signedData starting..."), Trace("CCrypto: signedData containerName(c1)..."),
               m_released, Error("CCrypto: signedData call SOF_SignMessage return NULL!", E_FAIL)},
              m_log.Take(), "Crypto");
}

TEST_F(ReleasedBackend, FailsAVerificationWithItsOwnLine)
{
    EXPECT_EQ(I2(-1), Calling(Direct(&ICrypto::verifySignFile), {L"file", L"cert", L"signature"}).value);
    ExpectLog({Trace("CCrypto: verifySignFile starting..."), m_released,
               Error("CCrypto: verifySignFile call SOF_VerifySignedFile error!", E_FAIL)},
              m_log.Take(), "Crypto");
}

TEST_F(ReleasedBackend, EndsASwitchBeforeItBegins)
{
    EXPECT_EQ(I2(-1), Calling(Direct(&ICrypto::encryptFile), {L"in", L"out", L"key"}).value);
    ExpectLog({Trace("CCrypto: encryptFile starting..."), m_released,
               Error("CCrypto: encryptFile call SOF_GetEncryptMethod return NULL!", E_FAIL)},
              m_log.Take(), "Crypto");
}

TEST_F(ReleasedBackend, IsNothingToTheConfiguration)
{
    EXPECT_EQ(I2(0), Calling(Direct(&ICrypto::setAlgFlag), {I2(1), I2(2)}).value);
    ExpectLog({Trace("CCrypto: setAlgFlag starting..."), Trace("CCrypto: setAlgFlag ending ok...")},
              m_log.Take(), "Crypto");
}

}  // namespace
}  // namespace kzr::test
