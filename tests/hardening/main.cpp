// The hardening tests: the built DLL, by hostile callers, backends and moments. KZRSECX_DLL names it.
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
    // Every test loads it anew; without it none needs to begin.
    if (!kzr::test::TestDll()) {
        std::fprintf(stderr, "%ls cannot be loaded: nothing can be tested\n", kzr::test::DllPath().c_str());
        return 3;
    }
    return RUN_ALL_TESTS();
}
