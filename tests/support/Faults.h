// The nine ways in which foreign code goes wrong, raised on purpose; and the count of processor faults that
// nobody planned, which the component's guard would otherwise hide.
#pragma once

#include <windows.h>

#include <string>

namespace kzr::test {

enum class FaultKind {
    None,
    Read,
    Write,
    Execute,
    Division,
    IllegalInstruction,
    StackOverflow,
    CompilersThrow,       // a C++ throw of this compiler
    OtherCompilersThrow,  // 0xE06D7363, non-continuable
    NonContinuable,       // another code, non-continuable
};

inline constexpr FaultKind kAllFaults[] = {
    FaultKind::Read,
    FaultKind::Write,
    FaultKind::Execute,
    FaultKind::Division,
    FaultKind::IllegalInstruction,
    FaultKind::StackOverflow,
    FaultKind::CompilersThrow,
    FaultKind::OtherCompilersThrow,
    FaultKind::NonContinuable,
};

const char* NameOf(FaultKind kind);
// The exception code that the platform or the runtime gives this kind.
DWORD CodeOf(FaultKind kind);

// Raises it, counted as planned. Comes back only for `None`.
void RaiseFault(FaultKind kind);

// Watches the whole process for its life. Faults of RaiseFault and allowed ones do not count as unplanned;
// C++ throws, whatever compiler's, are no processor faults.
class FaultCounter {
  public:
    FaultCounter();
    ~FaultCounter();
    FaultCounter(const FaultCounter&) = delete;
    FaultCounter& operator=(const FaultCounter&) = delete;

    // That many more faults are part of the test: of a test that makes the component itself fault.
    static void Allow(long count);
    static void Reset();
    static long Unplanned();
    static long Planned();
    // Code and place of the first unplanned one.
    static std::string FirstUnplanned();

  private:
    void* m_handler;
};

}  // namespace kzr::test
