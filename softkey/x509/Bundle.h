// Takes apart what holds one or many certificates or revocation lists: DER, PEM blocks, PKCS#7 without
// signers, and the Base64 of any of them. Leaves reading the single ones to their owners.
#pragma once

#include <vector>

#include "base/Bytes.h"

namespace kzr::softkey {

// The content of every complete PEM block with the label, such as "CERTIFICATE". Text around the blocks is
// passed over, and so is a block that is not Base64.
std::vector<Bytes> PemBlocks(std::string_view text, std::string_view label);

struct Bundle {
    // DER, or what claims to be.
    std::vector<Bytes> certificates;
    std::vector<Bytes> lists;
    // A single piece of DER that does not say which it is.
    std::vector<Bytes> either;
};

// Throws Failure(BadData) for more than `limit` bytes; an unreadable bundle is an empty one.
Bundle TakeApart(View bytes, std::size_t limit);

}  // namespace kzr::softkey
