// A test's registry: free of the component when the test begins, and put back as it was when the test ends.
#pragma once

#include <gtest/gtest.h>

#include "registration/GoldenKeys.h"
#include "registration/Registry.h"
#include "registration/ServerModule.h"

namespace kzr::test {

class CleanRegistry : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // All tests share one look at the machine's classes without the component; the last test of a suite shows
    // that they are so again.
    static void TearDownTestSuite();
    static const Snapshot& Before();

    // Empty when the machine's classes are exactly `golden` over what they were before.
    std::string DifferenceFrom(const Snapshot& golden) const
    {
        return Difference(Overlaid(Before(), golden), SnapshotOf(HKEY_LOCAL_MACHINE, kClassesPath));
    }
};

}  // namespace kzr::test
