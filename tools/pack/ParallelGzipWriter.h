#pragma once
// Writes one gzip member whose data are deflated on several threads.
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "BlockDeflater.h"

namespace orvik::tools::pack {

// The input is cut into blocks of kBlockBytes, each deflated at level 6 on its own, primed with
// the 32 KiB before it, and the results are written in order after a fixed header (no name, no
// time) and before a trailer of the CRC-32 and length: so the bytes written depend only on the
// input, never on the number of threads. With `threads` 1 the calling thread deflates and no
// thread is started; otherwise `threads` workers do, with at most 2 x `threads` blocks held at
// once. Any failure stops the writer: every later call returns false and Error() tells what
// failed. The destructor stops and joins the workers, finished or not.
class ParallelGzipWriter {
public:
    static constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

    // Takes the member's bytes in order: writes all `size` of them, or returns false with `error`
    // set to a message that names the file and the cause.
    using Sink =
        std::function<bool(const unsigned char* data, std::size_t size, std::wstring& error)>;

    // `fileName` names the member's file in the writer's own messages.
    ParallelGzipWriter(Sink sink, std::wstring fileName, unsigned threads);
    ~ParallelGzipWriter();
    ParallelGzipWriter(const ParallelGzipWriter&) = delete;
    ParallelGzipWriter& operator=(const ParallelGzipWriter&) = delete;

    // Appends `size` bytes to the member.
    bool Write(const void* data, std::size_t size) noexcept;
    // Deflates what is left and writes the trailer. Call it once, last.
    bool Finish() noexcept;
    // Empty until something failed; then what failed, naming the file and the cause.
    const std::wstring& Error() const { return error_; }

private:
    struct Block {
        std::vector<unsigned char> input;  // dictionary, then data
        std::size_t dictionary = 0;
        bool last = false;
        std::vector<unsigned char> output;
        std::uint32_t crc = 0;  // of the data
        std::string error;      // deflate's reason when it failed
        bool done = false;
    };

    void Work() noexcept;
    static void Compress(Block& block, BlockDeflater& deflater) noexcept;
    // Hands the filled block over to be deflated and starts the next; `last` ends the input.
    bool Submit(bool last);
    // Writes out, in order, every block held that is done, and waits for the oldest ones until
    // at most `keep` are held.
    bool Drain(std::size_t keep);
    bool WriteOut(const Block& block);
    bool WriteBytes(const unsigned char* data, std::size_t size);
    // Records the first failure; returns false.
    bool Fail(std::wstring cause);

    const Sink sink_;
    const std::wstring fileName_;
    const std::size_t maxHeld_;
    std::unique_ptr<Block> filling_;
    std::deque<std::unique_ptr<Block>> held_;  // submitted, in input order
    std::vector<std::unique_ptr<Block>> spare_;
    std::unique_ptr<BlockDeflater> inlineDeflater_;  // with one thread
    bool headerWritten_ = false;
    std::uint32_t crc_ = 0;
    std::uint64_t length_ = 0;
    std::wstring error_;

    std::mutex mutex_;
    std::condition_variable queued_, compressed_;
    std::deque<Block*> queue_;  // submitted, not yet taken by a worker
    bool stopping_ = false;
    std::vector<std::thread> workers_;
};

}  // namespace orvik::tools::pack
