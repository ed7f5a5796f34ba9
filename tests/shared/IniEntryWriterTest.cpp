#include <gtest/gtest.h>

#include <vector>

#include "shared/IniEntryWriter.h"

namespace orvik::pkgshared::ini {
namespace {

using Lines = std::vector<std::string>;

// Collects the lines a write produces.
struct Collector {
    Lines lines;
    int failAt = -1;  // index of the line whose write fails with -28
    LineWriter Writer() {
        return [this](const std::string& line) {
            if (static_cast<int>(lines.size()) == failAt) {
                return -28;
            }
            lines.push_back(line);
            return 0;
        };
    }
};

Lines Write(const IniEntry& entry, unsigned options = 0, size_t limit = 0, char split = '\0',
            int* result = nullptr) {
    Collector collector;
    const int code = WriteEntry(entry, options, limit, split, collector.Writer());
    if (result != nullptr) {
        *result = code;
    }
    return collector.lines;
}

TEST(IniEntryWriterTest, SeparatorQuoteAndComments) {
    IniEntry entry{"key", "value", {"; first", "; second"}, '\0'};
    EXPECT_EQ(Lines{"key=value"}, Write(entry));
    EXPECT_EQ(Lines{"key = value"}, Write(entry, kSpacedSeparator));
    EXPECT_EQ((Lines{"; first", "; second", "key=value"}), Write(entry, kWriteComments));
    entry.quote = '"';
    EXPECT_EQ(Lines{"key = \"value\""}, Write(entry, kSpacedSeparator));
    EXPECT_EQ(Lines{"key=\"\""}, Write(IniEntry{"key", "", {}, '"'}));
}

TEST(IniEntryWriterTest, LineThatFitsIsNotSplit) {
    const IniEntry entry{"Path", std::string(20, 'x'), {}, '\0'};
    EXPECT_EQ(Lines{"Path=" + std::string(20, 'x')}, Write(entry, 0, 25));
}

TEST(IniEntryWriterTest, LongValueIsSplitIntoNumberedLines) {
    // Chunk size: 30 - 4 - 12 = 14.
    const IniEntry entry{"Path", "abcdefghijklmnopqrstuvwxyz0123", {}, '\0'};
    EXPECT_EQ(
        (Lines{"Path Line0001=abcdefghijklmn", "Path Line0002=opqrstuvwxyz01", "Path Line0003=23"}),
        Write(entry, 0, 30));
    // Spaced separator and quotes: 28 - 4 - 12 - 2 = 10; each line is then exactly 28 long.
    const IniEntry quoted{"Path", "abcdefghijklmnopqrst", {}, '\''};
    EXPECT_EQ((Lines{"Path Line0001 = 'abcdefghij'", "Path Line0002 = 'klmnopqrst'"}),
              Write(quoted, kSpacedSeparator, 28));
}

TEST(IniEntryWriterTest, ChunksEndAfterTheLastSplitCharacter) {
    // Chunk size 10; split after the last ';' within each chunk.
    const IniEntry entry{"P", "aa;bbb;cccc;d;eeeeeeeeeeeee", {}, '\0'};
    EXPECT_EQ((Lines{"P Line0001=aa;bbb;", "P Line0002=cccc;d;", "P Line0003=eeeeeeeeee",
                     "P Line0004=eee"}),
              Write(entry, 0, 23, ';'));
}

TEST(IniEntryWriterTest, NoRoomForAChunkWritesNothing) {
    const IniEntry entry{"LongKeyName", "value that is too long", {"; c"}, '"'};
    int result = 0;
    EXPECT_TRUE(Write(entry, kWriteComments, 25, '\0', &result).empty());
    EXPECT_EQ(kValueCannotBeSplit, result);
    // Limit exactly the overhead: 11 + 12 + 2.
    EXPECT_TRUE(Write(entry, 0, 25, '\0', &result).empty());
    EXPECT_EQ(kValueCannotBeSplit, result);
    // One character more leaves room for chunks of one character.
    EXPECT_EQ(22u, Write(entry, 0, 26, '\0', &result).size());
    EXPECT_EQ(0, result);
}

TEST(IniEntryWriterTest, WriterFailureStopsAndIsReturnedUnchanged) {
    const IniEntry entry{"Path", "abcdefghijklmnopqrstuvwxyz", {"; c"}, '\0'};
    Collector collector;
    collector.failAt = 2;  // the second continuation line
    EXPECT_EQ(-28, WriteEntry(entry, kWriteComments, 26, '\0', collector.Writer()));
    EXPECT_EQ((Lines{"; c", "Path Line0001=abcdefghij"}), collector.lines);
}

}  // namespace
}  // namespace orvik::pkgshared::ini
