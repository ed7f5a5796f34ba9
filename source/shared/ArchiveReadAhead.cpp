#include "shared/ArchiveReadAhead.h"

#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

// What the queue may hold before the reading thread waits.
constexpr size_t kMaximumBytes = 4u << 20;
constexpr size_t kMaximumItems = 256;

ArchiveReadAhead::Item FailureOf(archive* reader) {
    ArchiveReadAhead::Item item;
    item.kind = ArchiveReadAhead::Item::Failure;
    const char* text = archive_error_string(reader);
    item.errorText = text != nullptr ? Utf8ToWide(text) : std::wstring();
    item.errnum = archive_errno(reader);
    return item;
}

}  // namespace

ArchiveReadAhead::ArchiveReadAhead(archive* reader, std::function<bool(archive_entry*)> wanted)
    : reader_(reader), wanted_(std::move(wanted)), thread_([this] { Read(); }) {}

ArchiveReadAhead::~ArchiveReadAhead() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void ArchiveReadAhead::Read() noexcept {
    ReadItems();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        done_ = true;
    }
    changed_.notify_all();
}

void ArchiveReadAhead::ReadItems() noexcept {
    try {
        while (!Stopped()) {
            archive_entry* entry = nullptr;
            const int header = archive_read_next_header(reader_, &entry);
            if (header == ARCHIVE_EOF) {
                Push(Item{});
                return;
            }
            if (header != ARCHIVE_OK) {
                Push(FailureOf(reader_));
                return;
            }
            if (!wanted_(entry)) {
                continue;
            }
            Item item;
            item.kind = Item::Header;
            item.entry.reset(archive_entry_clone(entry));
            if (!Push(std::move(item))) {
                return;
            }
            for (;;) {
                const void* block = nullptr;
                size_t size = 0;
                la_int64_t offset = 0;
                const int read = archive_read_data_block(reader_, &block, &size, &offset);
                Item data;
                if (read == ARCHIVE_EOF) {
                    data.kind = Item::EndOfData;
                } else if (read < ARCHIVE_OK) {
                    Push(FailureOf(reader_));
                    return;
                } else {
                    data.kind = Item::Data;
                    data.data.assign(static_cast<const char*>(block),
                                     static_cast<const char*>(block) + size);
                    data.offset = offset;
                }
                const bool ended = data.kind == Item::EndOfData;
                if (!Push(std::move(data))) {
                    return;
                }
                if (ended) {
                    break;
                }
            }
        }
    } catch (...) {
        Item failure;
        failure.kind = Item::Failure;
        failure.errorText = L"out of memory reading ahead";
        Push(std::move(failure));
    }
}

bool ArchiveReadAhead::Stopped() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return stop_;
}

bool ArchiveReadAhead::Push(Item item) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] {
        return stop_ || (bytes_ < kMaximumBytes && items_.size() < kMaximumItems);
    });
    if (stop_) {
        return false;
    }
    bytes_ += item.data.size();
    items_.push_back(std::move(item));
    lock.unlock();
    changed_.notify_all();
    return true;
}

ArchiveReadAhead::Item ArchiveReadAhead::Pop() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return !items_.empty() || done_; });
    if (items_.empty()) {
        return Item{};  // nothing follows the last item
    }
    Item item = std::move(items_.front());
    items_.pop_front();
    bytes_ -= item.data.size();
    lock.unlock();
    changed_.notify_all();
    return item;
}

ArchiveReadAhead::Item ArchiveReadAhead::NextHeader() {
    for (;;) {
        Item item = Pop();
        if (item.kind != Item::Data && item.kind != Item::EndOfData) {
            return item;
        }
    }
}

ArchiveReadAhead::Item ArchiveReadAhead::NextData() {
    return Pop();
}

}  // namespace orvik::pkgshared
