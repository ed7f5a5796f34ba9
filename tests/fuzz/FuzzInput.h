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
    // Bytes up to the next `separator` (consumed, not returned) or the end.
    std::string Until(char separator) {
        std::string text;
        while (offset_ < size_) {
            const char c = static_cast<char>(data_[offset_++]);
            if (c == separator) {
                break;
            }
            text += c;
        }
        return text;
    }
    // UTF-16 code units of the remaining input, two bytes each.
    std::wstring Utf16Until(wchar_t separator) {
        std::wstring text;
        while (offset_ + 1 < size_) {
            const wchar_t c = static_cast<wchar_t>(data_[offset_] | (data_[offset_ + 1] << 8));
            offset_ += 2;
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
