// A process that ends with objects alive: the module does nothing then, since other modules may be gone.
#include <cstdio>
#include <cstdlib>

#include "component/FrameClasses.h"
#include "support/ChildProcess.h"

namespace kzr::test {
namespace {

// Everything stays: the objects, a lock, the module; only the process goes.
int EndWithEverythingAlive(void (*end)())
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    LogReader log;
    auto* const backend = new ScriptedBackend();
    backend->SetUsers(DefaultUsers());
    auto* const dll = new TestDll();
    for (const SharedClass* shared : kSharedClasses) {
        void* object = nullptr;
        if (FAILED(dll->Create(shared->tested.clsid, IID_IDispatch, &object))) return 3;
    }
    // Whoever asks the backend for anything from here on ends the process with another code.
    for (const Step step : {Step::Unadvise, Step::Release, Step::LastRelease})
        backend->At(step).Runs([] { TerminateProcess(GetCurrentProcess(), 66); });
    std::printf("%ls\n", log.Path().c_str());
    std::fflush(stdout);
    log.Take();
    end();
    return 0;
}

KZR_CHILD(EndsByReturning)
{
    return EndWithEverythingAlive([] {});
}
KZR_CHILD(EndsByExitProcess)
{
    return EndWithEverythingAlive([] { ExitProcess(0); });
}

class ModuleEnd : public testing::TestWithParam<const char*> {};

TEST_P(ModuleEnd, LeavesLivingObjectsAsTheyAre)
{
    for (int i = 0; i < 5; ++i) {
        const ChildResult ended = RunChild(GetParam());
        ASSERT_TRUE(ended.started);
        EXPECT_EQ(0u, ended.code);
        std::string name = ended.output.substr(0, ended.output.find_first_of("\r\n"));
        const std::string written = ReadWholeFile(std::wstring(name.begin(), name.end()));
        EXPECT_NE(std::string::npos, written.find("CUtil::FinalConstruct ending ok...")) << name;
        EXPECT_EQ(std::string::npos, written.find("FinalRelease"));
        EXPECT_EQ(std::string::npos, written.find("CAxKzrApp::Release"));
        DeleteFileA(name.c_str());
    }
}

INSTANTIATE_TEST_SUITE_P(, ModuleEnd, testing::Values("EndsByReturning", "EndsByExitProcess"),
                         [](const auto& made) { return std::string(made.param); });

}  // namespace
}  // namespace kzr::test
