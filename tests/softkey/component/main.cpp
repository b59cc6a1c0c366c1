// The component on top of the software key: both built DLLs. KZRSECX_DLL names the component's.
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

int main(int argc, char** argv)
{
    int code = 0;
    if (kzr::test::RanAsChild(argc, argv, code)) return code;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
