// No fuzzer of ours: three planted bugs, so that a round which finds nothing can be believed. KZR_PLANT
// chooses.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const char* const plant = std::getenv("KZR_PLANT");
    if (!plant || size < 4 || std::memcmp(data, "key", 3) != 0) return 0;
    static volatile int sink = 0;
    if (std::strcmp(plant, "over-read") == 0) {
        const std::vector<std::uint8_t> copy(data, data + size);
        sink = copy.data()[size];
    } else if (std::strcmp(plant, "overflow") == 0) {
        int large = 0x7fffff00;
        large += data[3] + 256;
        sink = large;
    } else if (std::strcmp(plant, "hang") == 0) {
        while (sink == 0) {
        }
    }
    return 0;
}
