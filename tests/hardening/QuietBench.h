// What QuietTest gives a test, for parts that run in a process of their own.
#pragma once

#include <memory>

#include "QuietTest.h"

namespace kzr::test {

class QuietBench {
  public:
    QuietBench();
    ~QuietBench();
    QuietBench(const QuietBench&) = delete;
    QuietBench& operator=(const QuietBench&) = delete;

    ComPtr<IDispatch> Make(const ScriptedClass& made) { return dll->Create<IDispatch>(made.clsid); }
    // What nobody asked for since the start: faults, fatal lines, surprises of the backend, objects that are
    // still alive. "" when there is none.
    std::string Trouble();

    // Fatal lines that the part has brought about on purpose.
    long plannedFatalLines = 0;
    FaultCounter faults;
    std::unique_ptr<ScriptedBackend> backend;
    std::unique_ptr<TestDll> dll;
};

}  // namespace kzr::test
