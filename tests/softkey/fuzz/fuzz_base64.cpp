// Fuzzer: any text is refused, or the one text for its bytes but for blanks.
#include <algorithm>

#include "softkey/fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace kzr::softkey;
    std::string text(data, data + size);
    Bytes bytes;
    if (!fuzz::Succeeds({Cause::BadData}, [&] { bytes = Base64Decode(text); })) return 0;
    std::erase_if(text, [](char c) { return std::string_view(" \t\r\n").find(c) != std::string_view::npos; });
    fuzz::Demand(Base64Encode(bytes) == text);
    return 0;
}
