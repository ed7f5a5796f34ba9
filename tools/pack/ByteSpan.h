#pragma once
#include <cstdint>

namespace orvik::tools::pack {

// Bytes owned elsewhere, which outlive every user of the span.
struct ByteSpan {
    const unsigned char* data = nullptr;
    std::uint64_t size = 0;
};

}  // namespace orvik::tools::pack
