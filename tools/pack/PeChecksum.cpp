#include "PeChecksum.h"

#include <algorithm>

#include "LittleEndian.h"

namespace orvik::tools::pack {
namespace {

constexpr unsigned char kZeros[4] = {};

std::uint64_t Fold(std::uint64_t sum) {
    while (sum > 0xffff) {
        sum = (sum & 0xffff) + (sum >> 16);
    }
    return sum;
}

}  // namespace

void PeChecksum::Add(ByteSpan bytes) {
    // The field's bytes go in as zeros.
    const std::uint64_t start = length_, end = start + bytes.size;
    const std::uint64_t from = std::clamp(field_, start, end);
    const std::uint64_t to = std::clamp(field_ + 4, start, end);
    Sum(bytes.data, from - start);
    Sum(kZeros, to - from);
    Sum(bytes.data + (to - start), end - to);
}

void PeChecksum::Sum(const unsigned char* data, std::uint64_t size) {
    if (size == 0) {
        return;
    }
    if (length_ % 2 != 0) {
        sum_ += pending_ | (unsigned{data[0]} << 8);
        ++data;
        --size;
        ++length_;
    }
    // A 32-bit word is two 16-bit words whose sum it equals modulo 0xffff, as 2^16 is 1 there.
    // Each run adds below 2^46, so the running sum stays below 2^48.
    constexpr std::uint64_t kRun = std::uint64_t{1} << 16;
    while (size >= 4) {
        const std::uint64_t words = std::min(size / 4, kRun);
        std::uint64_t run = 0;
        for (std::uint64_t i = 0; i < words; ++i, data += 4) {
            run += Get32(data);
        }
        sum_ = Fold(sum_ + run);
        size -= 4 * words;
        length_ += 4 * words;
    }
    for (; size >= 2; data += 2, size -= 2, length_ += 2) {
        sum_ += data[0] | (unsigned{data[1]} << 8);
    }
    if (size == 1) {
        pending_ = data[0];
        ++length_;
    }
}

std::uint32_t PeChecksum::Value() const {
    const std::uint64_t sum = Fold(sum_ + (length_ % 2 != 0 ? pending_ : 0));
    return static_cast<std::uint32_t>(sum + length_);
}

}  // namespace orvik::tools::pack
