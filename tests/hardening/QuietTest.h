// The fixture of tests that call very often: a component test whose DLL writes to a log library that only
// counts, with a backend that answers everything well.
#pragma once

#include <string>

#include "support/ComponentTest.h"

namespace kzr::test {

// A copy of the DLL in a folder of this process, the counting log library beside it. The path of the copy.
// The library stays loaded, so another process removes the folder.
const std::wstring& QuietDll();

// Lines since the start of the process, by the counting library.
long CountedErrorLines();
long CountedFatalLines();
std::string LastErrorLine();

// Every backend method that the component knows, with a good answer, and Alice and Bob as users.
void AnswerEverything(ScriptedBackend& backend);

class QuietTest : public ComponentTest {
  public:
    using ComponentTest::ComponentTest;
    void SetUp() override;
    void TearDown() override;

  protected:
    // Fatal lines that the test has brought about on purpose.
    long plannedFatalLines = 0;
    long FatalLines() const { return CountedFatalLines() - m_fatalBefore; }

  private:
    long m_fatalBefore = 0;
};

}  // namespace kzr::test
