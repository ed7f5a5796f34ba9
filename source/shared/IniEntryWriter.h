#pragma once
// Writes one ini entry as one or more lines. Pure text handling.
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace orvik::pkgshared::ini {

struct IniEntry {
    std::string key;
    std::string value;
    std::vector<std::string> comments;  // whole lines, written before the entry
    char quote = '\0';                  // when set, the value is written between two of them
};

// Writer options.
enum WriterOption : unsigned {
    kSpacedSeparator = 0x8,  // " = " instead of "="
    kWriteComments = 0x10,   // the entry's comment lines first
};

// Receives one line without its line end; returns 0 or a negative code.
using LineWriter = std::function<int(const std::string& line)>;

constexpr int kValueCannotBeSplit = -2;
constexpr int kOutOfMemory = -12;

// Writes `entry`. A line longer than `maxLineLength` (0: no limit) is split
// into "<key> Line0001", "<key> Line0002", ... lines carrying chunks of the
// value of at most limit - key length - 12 characters (2 fewer with a quote);
// with a `splitCharacter`, a chunk ends just after its last occurrence when
// there is one. Returns 0, kValueCannotBeSplit when the limit leaves no room
// for a chunk (nothing is written then), kOutOfMemory, or the first failure
// of `write` unchanged. Never throws.
int WriteEntry(const IniEntry& entry, unsigned writerOptions, size_t maxLineLength,
               char splitCharacter, const LineWriter& write);

}  // namespace orvik::pkgshared::ini
