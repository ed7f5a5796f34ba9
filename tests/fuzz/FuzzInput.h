#pragma once
// Helpers that turn a fuzzer's bytes into the inputs of the code under test.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orvik::fuzz {

// Consumes the input from the front.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, size_t size) : data_(data), size_(size) {}
    size_t Remaining() const { return size_ - offset_; }
    // One byte, 0 once the input is used up.
    std::uint8_t Byte() { return offset_ < size_ ? data_[offset_++] : 0; }
    // Units of `Width` bytes (little-endian) up to the next `separator`
    // (consumed, not returned) or the end; a last partial unit is left.
    template <typename Char, size_t Width = 1>
    std::basic_string<Char> Until(Char separator) {
        std::basic_string<Char> text;
        while (offset_ + Width <= size_) {
            Char c = 0;
            for (size_t i = 0; i < Width; ++i) {
                c = static_cast<Char>(c | data_[offset_++] << (8 * i));
            }
            if (c == separator) {
                break;
            }
            text += c;
        }
        return text;
    }
    std::string Rest() {
        std::string text(reinterpret_cast<const char*>(data_) + offset_, size_ - offset_);
        offset_ = size_;
        return text;
    }

private:
    const std::uint8_t* data_;
    size_t size_;
    size_t offset_ = 0;
};

}  // namespace orvik::fuzz
