#pragma once
// The CheckSum of a PE image's optional header, over the file's bytes given in order and in
// pieces of any length. Pure logic.
#include <cstdint>

#include "ByteSpan.h"

namespace orvik::tools::pack {

class PeChecksum {
public:
    // `fieldOffset`: where the CheckSum field is in the file; its 4 bytes count as zero.
    explicit PeChecksum(std::uint64_t fieldOffset) : field_(fieldOffset) {}

    // Adds the next bytes of the file.
    void Add(ByteSpan bytes);
    // The checksum of the file that ends after the bytes added so far: the one's-complement
    // sum of its 16-bit little-endian words (an odd last byte is a word of its own), folded to
    // 16 bits, plus the file's length.
    std::uint32_t Value() const;

private:
    void Sum(const unsigned char* data, std::uint64_t size);

    std::uint64_t field_;
    std::uint64_t length_ = 0;  // bytes added so far
    std::uint64_t sum_ = 0;     // of whole words, unfolded but kept below 2^48
    unsigned pending_ = 0;      // the low byte of a word whose high byte comes next
};

}  // namespace orvik::tools::pack
