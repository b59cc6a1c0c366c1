// A VARIANT's first content.
#include "com/Variant.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace kzr {
namespace {

// A backend that leaves its result alone leaves what stands here, and methods read its bits whatever its
// type.
TEST(Variant, ANewOneReadsAsZero)
{
    alignas(Variant) volatile unsigned char memory[sizeof(Variant)];
    for (volatile unsigned char& byte : memory) byte = 0xAB;
    auto* const made = new (const_cast<unsigned char*>(memory)) Variant;
    EXPECT_EQ(VT_EMPTY, made->Type());
    EXPECT_EQ(0, made->Bits16());
    EXPECT_EQ(0, made->Bits32());
    made->~Variant();
}

}  // namespace
}  // namespace kzr
