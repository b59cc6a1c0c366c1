#include "QuietBench.h"

#include "Holdings.h"

namespace kzr::test {

QuietBench::QuietBench()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    // From here on every text is seen to come and go.
    CountHoldings();
    backend = std::make_unique<ScriptedBackend>();
    backend->unexpectedFails = false;
    AnswerEverything(*backend);
    dll = std::make_unique<TestDll>(QuietDll());
}

QuietBench::~QuietBench()
{
    dll.reset();
    backend.reset();
    CoUninitialize();
}

std::string QuietBench::Trouble()
{
    std::string trouble;
    if (FaultCounter::Unplanned() != 0) trouble += "a fault: " + FaultCounter::FirstUnplanned() + "\n";
    if (CountedFatalLines() != plannedFatalLines)
        trouble += "other fatal lines, and the latest error: " + LastErrorLine() + "\n";
    if (backend->Unexpected() != 0) trouble += "a call that the backend does not know\n";
    if (backend->LiveControls() != 0) trouble += "the backend was not released\n";
    if (dll->CanUnloadNow() != S_OK) trouble += "something of the module is alive\n";
    return trouble;
}

}  // namespace kzr::test
