// The bridge by itself: the scripted backend before it, its log in a file of the test's own, no DLL.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backend/AxKzrApp.h"
#include "com/Lock.h"
#include "com/ModuleCount.h"
#include "log/Log.h"
#include "support/ComponentTest.h"
#include "support/TempFolder.h"

namespace kzr::test {

class BackendFixture : public testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        BackendLock().Create();
        CacheLock().Create();
        m_moduleCount = ModuleLockCount();
        m_folder.emplace();
        SetLogLevelAndPath("trace", ToNarrow(*m_folder / L"log.txt").c_str());
        backend.emplace();
        m_faults.emplace();
    }

    void TearDown() override
    {
        EXPECT_EQ("", backend->Unused());
        EXPECT_EQ(0, backend->LiveControls()) << "the control was not released";
        backend.reset();
        EXPECT_EQ(m_moduleCount, ModuleLockCount()) << "site or sink are still alive";
        EXPECT_EQ(0, BackendLock().MyDepth());
        EXPECT_TRUE(IsFree(BackendLock()));
        EXPECT_EQ(0, FaultCounter::Unplanned()) << FaultCounter::FirstUnplanned();
        m_faults.reset();
        SetLogLevelAndPath("trace", "");
        CacheLock().Delete();
        BackendLock().Delete();
        CoUninitialize();
    }

    // The records since the last call, compared with these lines.
    void ExpectLines(const LogSteps& steps) { ExpectLog(steps, TakeLog(), "AxKzrApp"); }
    std::vector<LogRecord> TakeLog()
    {
        const std::string bytes = ReadWholeFile(*m_folder / L"log.txt", m_read);
        m_read += bytes.size();
        return ParseLog(bytes);
    }

    // An instance that is loaded, its lines already taken.
    std::shared_ptr<CAxKzrApp> Loaded()
    {
        std::shared_ptr<CAxKzrApp> app = CAxKzrApp::Instance();
        EXPECT_TRUE(app);
        backend->ForgetCalls();
        TakeLog();
        return app;
    }

    static bool IsFree(Lock& lock)
    {
        bool taken = false;
        const HANDLE thread = CreateThread(
            nullptr, 0,
            [](void* context) -> DWORD {
                const LockGuard held = static_cast<Lock*>(context)->lock();
                return 0;
            },
            &lock, 0, nullptr);
        taken = WaitForSingleObject(thread, 5000) == WAIT_OBJECT_0;
        CloseHandle(thread);
        return taken;
    }

    std::optional<ScriptedBackend> backend;

  private:
    std::optional<TempFolder> m_folder;
    std::optional<FaultCounter> m_faults;
    std::size_t m_read = 0;
    long m_moduleCount = 0;
};

inline LogSteps operator+(LogSteps first, const LogSteps& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace kzr::test
