// Fuzzer: any list of serial numbers comes apart at its ";" and nowhere else, and comes to its end.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "control/SerialNumbers.h"

namespace {

// Character by character: a ";" ends a number, and so does the end, unless nothing has come since the last
// ";".
std::vector<std::wstring> Plainly(const std::wstring& list)
{
    std::vector<std::wstring> numbers;
    std::wstring number;
    for (const wchar_t c : list) {
        if (c != L';') {
            number += c;
            continue;
        }
        numbers.push_back(number);
        number.clear();
    }
    if (!number.empty()) numbers.push_back(number);
    return numbers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring list(data, data + size);
    std::vector<std::wstring> numbers;
    for (std::wstring_view rest = list; !rest.empty();) numbers.emplace_back(kzr::TakeSerialNumber(rest));
    if (numbers != Plainly(list)) std::abort();
    return 0;
}
