// The tests of objects that no client can hold: those that never got their backend.
#include <gtest/gtest.h>

#include "frame/ExceptionState.h"

int main(int argc, char** argv)
{
    // The program has the module's exception state linked in, and stands in for the module's start-up.
    if (!kzr::StartExceptionState()) return 1;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
