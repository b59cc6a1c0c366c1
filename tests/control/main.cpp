// The control's tests: the built DLL in containers of ours and of the platform. KZRSECX_DLL names it. They
// need a display.
#include <gtest/gtest.h>

#include <cstdio>

#include "support/ChildProcess.h"
#include "support/TestDll.h"

int main(int argc, char** argv)
{
    int code = 0;
    if (kzr::test::RanAsChild(argc, argv, code)) return code;
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
    if (!kzr::test::TestDll()) {
        std::fprintf(stderr, "%ls cannot be loaded: nothing can be tested\n", kzr::test::DllPath().c_str());
        return 3;
    }
    return RUN_ALL_TESTS();
}
