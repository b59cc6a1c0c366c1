// Fuzzer: any text is a date, no date, or a ValidityError; nothing else comes out.
#include <cstdint>
#include <cstdlib>

#include "objects/Validity.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    const long long noon2024 = 1719835200;
    if (const auto reference = kzr::ParseReferenceDate(text)) {
        try {
            kzr::WholeDaysBetween(noon2024, kzr::ToMoment(*reference));
        } catch (const kzr::ValidityError&) {
        }
    }
    try {
        const long long moment = kzr::ToMoment(kzr::ParseExpiry(text));
        if (moment < 0 || moment > 0x793406fffLL) {
            std::abort();
        }
    } catch (const kzr::ValidityError& error) {
        if ((error.Reason() == kzr::ValidityError::Kind::kOutOfRange) != (text.size() < 12)) {
            std::abort();
        }
    }
    const std::wstring slashed = kzr::DateWithSlashes(std::wstring(data, data + size));
    if (slashed.size() < 2 || slashed.size() > 10) {
        std::abort();
    }
    return 0;
}
