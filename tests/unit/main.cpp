// The unit tests: what the DLL's surface cannot reach, in the rooms' own objects. A test that needs the
// process-wide locks makes them, as the module does when it is loaded.
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

int main(int argc, char** argv)
{
    int code = 0;
    if (kzr::test::RanAsChild(argc, argv, code)) return code;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
