#include "NotInitialized.h"

#include <gtest/gtest.h>

#include <optional>

#include "cache/CacheManager.h"
#include "com/Lock.h"
#include "com/ModuleCount.h"
#include "log/Log.h"

namespace kzr::test {
namespace {

class BareTest : public testing::Test {
  public:
    BareTest(const char* className, BareMaker make, const char* source, const Case& row)
        : m_className(className), m_make(make), m_source(source), m_row(row)
    {}

    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        m_backend.emplace();
        m_backend->At(Step::CreateInstance).Fails(E_FAIL);
        SetLogLevelAndPath("trace", LogFilePath().c_str());
        BackendLock().Create();
        CacheLock().Create();
    }

    void TearDown() override
    {
        CCacheManager::Destroy();
        CacheLock().Delete();
        BackendLock().Delete();
        EXPECT_TRUE(m_backend->AllCalls().empty());
        m_backend.reset();
        CoUninitialize();
    }

    void TestBody() override
    {
        ASSERT_TRUE(m_row.direct);
        RunOn(false);
        RunOn(true);
    }

  private:
    void RunOn(bool triesToConstruct)
    {
        SCOPED_TRACE(triesToConstruct ? "after a construction that found no backend" : "never constructed");
        {
            ScriptableBase* const made = m_make();
            const auto object = ComPtr<IUnknown>::Adopt(made->InnerUnknown());
            if (triesToConstruct) {
                EXPECT_EQ(E_FAIL, made->FinalConstruct());
                const std::string refusal = ExpectedLog(
                    {Error(std::string(m_className) + "::FinalConstruct CAxKzrApp::Instance error!!!")},
                    m_source);
                EXPECT_TRUE(DescribeLog(m_log.Take()).ends_with(refusal));
            }
            ComPtr<IDispatch> dual;
            ASSERT_EQ(S_OK, object->QueryInterface(IID_IDispatch, dual.putVoid()));
            m_log.Take();
            const CallResult called = m_row.direct(dual.Get(), m_row.arguments);
            EXPECT_EQ(S_OK, called.result);
            EXPECT_EQ(m_row.retVal, called.value);
            ExpectLog(m_row.steps, m_log.Take(), m_source);
        }
        EXPECT_EQ("", DescribeLog(m_log.Take())) << "it was never finished, so it does not say that it ends";
        EXPECT_EQ(0, ModuleLockCount());
    }

    const char* const m_className;
    const BareMaker m_make;
    const char* const m_source;
    const Case m_row;
    LogReader m_log;
    std::optional<ScriptedBackend> m_backend;
};

}  // namespace

bool RegisterBareCases(const char* suite, const char* file, int line, const char* className, BareMaker make,
                       const char* source, const std::vector<Case>& rows)
{
    for (const Case& row : rows)
        testing::RegisterTest(suite, row.name.c_str(), nullptr, nullptr, file, line,
                              [=]() -> testing::Test* { return new BareTest(className, make, source, row); });
    return !rows.empty();
}

}  // namespace kzr::test
