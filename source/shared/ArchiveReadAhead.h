#pragma once
// ArchiveReadAhead: reads an archive's headers and data on a thread of its
// own, ahead of the caller who writes them out, so that inflating overlaps
// with writing. The caller sees the library's own results, in archive order,
// as if it had made the calls itself: each header, each data block, the end
// of each entry's data, the end of the archive, and the first failure with
// the library's text and error number, after which nothing more is read.
// At most a few MiB are held at a time.
#include <archive.h>
#include <archive_entry.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orvik::pkgshared {

class ArchiveReadAhead {
public:
    struct EntryDeleter {
        void operator()(archive_entry* entry) const { archive_entry_free(entry); }
    };
    using Entry = std::unique_ptr<archive_entry, EntryDeleter>;

    // What one library call gave.
    struct Item {
        enum Kind { Header, Data, EndOfData, EndOfArchive, Failure } kind = EndOfArchive;
        Entry entry;             // Header: the entry, the caller's to change
        std::vector<char> data;  // Data: the block
        la_int64_t offset = 0;   // Data: where it goes
        std::wstring errorText;  // Failure: the library's text
        int errnum = 0;          // Failure: the library's error number
    };

    // Reads `reader` (opened, owned by the caller, not to be used by it until
    // this object is gone). Entries for which `wanted` is false are passed
    // over with their data, as the library does when none is read.
    ArchiveReadAhead(archive* reader, std::function<bool(archive_entry*)> wanted);
    // Stops reading and waits for the reading thread, which ends at its next
    // block or header: also while the queue is full, and while it passes over
    // entries that are not wanted.
    ~ArchiveReadAhead();
    ArchiveReadAhead(const ArchiveReadAhead&) = delete;
    ArchiveReadAhead& operator=(const ArchiveReadAhead&) = delete;

    // The next header (Header, EndOfArchive or Failure), passing over what is
    // left of the current entry's data.
    Item NextHeader();
    // The next data of the current entry (Data, EndOfData or Failure).
    Item NextData();

private:
    void Read() noexcept;
    void ReadItems() noexcept;
    // Whether the destructor asked the reading thread to stop.
    bool Stopped();
    bool Push(Item item);
    Item Pop();

    archive* reader_;
    std::function<bool(archive_entry*)> wanted_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Item> items_;
    size_t bytes_ = 0;
    bool stop_ = false;
    bool done_ = false;  // the reading thread has pushed its last item
    std::thread thread_;
};

}  // namespace orvik::pkgshared
