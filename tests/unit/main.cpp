// The unit tests: what the DLL's surface cannot reach, in the rooms' own objects. A test that needs the
// process-wide locks makes them, as the module does when it is loaded.
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
