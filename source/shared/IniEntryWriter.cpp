#include "shared/IniEntryWriter.h"

#include <cstdio>
#include <new>

namespace orvik::pkgshared::ini {
namespace {

std::string Quoted(const std::string& text, char quote) {
    return quote == '\0' ? text : quote + text + quote;
}

std::string ChunkKey(const std::string& key, size_t number) {
    char digits[16];
    std::snprintf(digits, sizeof(digits), "%04zu", number);
    return key + " Line" + digits;
}

// Length of the next chunk of `rest`: at most `limit` characters, ending just
// after the last `splitCharacter` within them when there is one.
size_t ChunkLength(const std::string& rest, size_t limit, char splitCharacter) {
    if (rest.size() <= limit) {
        return rest.size();
    }
    if (splitCharacter != '\0') {
        const size_t at = rest.rfind(splitCharacter, limit - 1);
        if (at != std::string::npos) {
            return at + 1;
        }
    }
    return limit;
}

// Largest chunk of the value that a continuation line can carry; 0 when the
// limit leaves no room.
size_t ChunkLimit(const IniEntry& entry, size_t maxLineLength) {
    const size_t overhead = entry.key.size() + 12 + (entry.quote != '\0' ? 2 : 0);
    return maxLineLength > overhead ? maxLineLength - overhead : 0;
}

int WriteSplit(const IniEntry& entry, const std::string& separator, size_t chunkLimit,
               char splitCharacter, const LineWriter& write) {
    size_t offset = 0;
    for (size_t number = 1; offset < entry.value.size(); ++number) {
        const std::string rest = entry.value.substr(offset);
        const size_t length = ChunkLength(rest, chunkLimit, splitCharacter);
        const std::string line =
            ChunkKey(entry.key, number) + separator + Quoted(rest.substr(0, length), entry.quote);
        if (const int result = write(line); result != 0) {
            return result;
        }
        offset += length;
    }
    return 0;
}

}  // namespace

int WriteEntry(const IniEntry& entry, unsigned writerOptions, size_t maxLineLength,
               char splitCharacter, const LineWriter& write) {
    try {
        const std::string separator = (writerOptions & kSpacedSeparator) != 0 ? " = " : "=";
        const std::string line = entry.key + separator + Quoted(entry.value, entry.quote);
        const bool split = maxLineLength != 0 && line.size() > maxLineLength;
        const size_t chunkLimit = split ? ChunkLimit(entry, maxLineLength) : 0;
        if (split && chunkLimit == 0) {
            return kValueCannotBeSplit;
        }
        if ((writerOptions & kWriteComments) != 0) {
            for (const std::string& comment : entry.comments) {
                if (const int result = write(comment); result != 0) {
                    return result;
                }
            }
        }
        return split ? WriteSplit(entry, separator, chunkLimit, splitCharacter, write)
                     : write(line);
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
}

}  // namespace orvik::pkgshared::ini
