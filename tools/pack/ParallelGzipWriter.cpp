#include "ParallelGzipWriter.h"

#include <zlib.h>

#include <algorithm>
#include <exception>
#include <system_error>

#include "shared/TextConversion.h"

namespace orvik::tools::pack {
namespace {

using orvik::pkgshared::Utf8ToWide;

// Magic, deflate, no flags, no time, no extra flags, made on Unix: as libarchive writes it.
constexpr unsigned char kHeader[] = {0x1f, 0x8b, 8, 0, 0, 0, 0, 0, 0, 3};

void PutLittleEndian(std::uint32_t value, unsigned char* out) {
    for (int i = 0; i < 4; ++i) {
        out[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

}  // namespace

ParallelGzipWriter::ParallelGzipWriter(Sink sink, std::wstring fileName, unsigned threads)
    : sink_(std::move(sink)),
      fileName_(std::move(fileName)),
      maxHeld_(2 * std::size_t{std::max(threads, 1u)}),
      filling_(std::make_unique<Block>()) {
    filling_->input.reserve(BlockDeflater::kDictionaryBytes + kBlockBytes);
    if (threads <= 1) {
        inlineDeflater_ = std::make_unique<BlockDeflater>();
        return;
    }
    try {
        for (unsigned i = 0; i < threads; ++i) {
            workers_.emplace_back([this] { Work(); });
        }
    } catch (const std::system_error& e) {
        Fail(L"cannot start a compressing thread: " + Utf8ToWide(e.what()));
    }
}

ParallelGzipWriter::~ParallelGzipWriter() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    queued_.notify_all();
    for (std::thread& worker : workers_) {
        worker.join();
    }
}

bool ParallelGzipWriter::Write(const void* data, std::size_t size) noexcept {
    try {
        const auto* bytes = static_cast<const unsigned char*>(data);
        while (error_.empty() && size > 0) {
            std::vector<unsigned char>& input = filling_->input;
            const std::size_t room = kBlockBytes - (input.size() - filling_->dictionary);
            const std::size_t taken = std::min(room, size);
            input.insert(input.end(), bytes, bytes + taken);
            bytes += taken;
            size -= taken;
            if (taken == room && !Submit(false)) {
                return false;
            }
        }
    } catch (const std::exception& e) {
        return Fail(Utf8ToWide(e.what()));
    }
    return error_.empty();
}

bool ParallelGzipWriter::Finish() noexcept {
    try {
        if (!error_.empty() || !Submit(true) || !Drain(0)) {
            return false;
        }
    } catch (const std::exception& e) {
        return Fail(Utf8ToWide(e.what()));
    }
    unsigned char trailer[8];
    PutLittleEndian(crc_, trailer);
    PutLittleEndian(static_cast<std::uint32_t>(length_), trailer + 4);
    return WriteBytes(trailer, sizeof(trailer));
}

void ParallelGzipWriter::Work() noexcept {
    BlockDeflater deflater;
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        queued_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
        if (stopping_) {
            return;
        }
        Block* block = queue_.front();
        queue_.pop_front();
        lock.unlock();
        Compress(*block, deflater);
        lock.lock();
        block->done = true;
        compressed_.notify_one();
    }
}

void ParallelGzipWriter::Compress(Block& block, BlockDeflater& deflater) noexcept {
    block.error.clear();
    try {
        if (deflater.Deflate(block.input, block.dictionary, block.last, block.output,
                             block.error)) {
            block.crc = static_cast<std::uint32_t>(
                crc32(0, block.input.data() + block.dictionary,
                      static_cast<uInt>(block.input.size() - block.dictionary)));
        }
    } catch (const std::exception& e) {
        block.error = e.what();
    }
}

bool ParallelGzipWriter::Submit(bool last) {
    std::unique_ptr<Block> next;
    if (!last) {
        if (spare_.empty()) {
            next = std::make_unique<Block>();
            next->input.reserve(BlockDeflater::kDictionaryBytes + kBlockBytes);
        } else {
            next = std::move(spare_.back());
            spare_.pop_back();
        }
        const std::vector<unsigned char>& input = filling_->input;
        next->dictionary = std::min(BlockDeflater::kDictionaryBytes, input.size());
        next->input.assign(input.end() - static_cast<std::ptrdiff_t>(next->dictionary),
                           input.end());
    }
    Block* const block = filling_.get();
    block->last = last;
    block->done = false;
    held_.push_back(std::move(filling_));
    filling_ = std::move(next);
    if (inlineDeflater_) {
        Compress(*block, *inlineDeflater_);
        block->done = true;
    } else {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            queue_.push_back(block);
        }
        queued_.notify_one();
    }
    return Drain(maxHeld_ - 1);
}

bool ParallelGzipWriter::Drain(std::size_t keep) {
    while (!held_.empty()) {
        Block& oldest = *held_.front();
        {
            std::unique_lock<std::mutex> lock(mutex_);
            if (held_.size() <= keep && !oldest.done) {
                return true;
            }
            compressed_.wait(lock, [&oldest] { return oldest.done; });
        }
        const bool written = WriteOut(oldest);
        spare_.push_back(std::move(held_.front()));
        held_.pop_front();
        if (!written) {
            return false;
        }
    }
    return true;
}

bool ParallelGzipWriter::WriteOut(const Block& block) {
    if (!block.error.empty()) {
        return Fail(L"cannot compress: " + Utf8ToWide(block.error));
    }
    if (!headerWritten_) {
        if (!WriteBytes(kHeader, sizeof(kHeader))) {
            return false;
        }
        headerWritten_ = true;
    }
    if (!WriteBytes(block.output.data(), block.output.size())) {
        return false;
    }
    const std::size_t size = block.input.size() - block.dictionary;
    crc_ = static_cast<std::uint32_t>(crc32_combine(crc_, block.crc, static_cast<z_off_t>(size)));
    length_ += size;
    return true;
}

bool ParallelGzipWriter::WriteBytes(const unsigned char* data, std::size_t size) {
    std::wstring error;
    if (!sink_(data, size, error) && error_.empty()) {
        error_ = std::move(error);
    }
    return error_.empty();
}

bool ParallelGzipWriter::Fail(std::wstring cause) {
    if (error_.empty()) {
        error_ = L"cannot write " + fileName_ + L": " + cause;
    }
    return false;
}

}  // namespace orvik::tools::pack
