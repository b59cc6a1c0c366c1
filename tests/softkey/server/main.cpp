// The software key's server: the built DLL, through its exports and IDispatch.
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

int main(int argc, char** argv)
{
    int code = 0;
    if (kzr::test::RanAsChild(argc, argv, code)) return code;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
