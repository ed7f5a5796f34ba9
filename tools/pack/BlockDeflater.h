#pragma once
// Deflates the blocks of a gzip member that is compressed block by block.
#include <zlib.h>

#include <cstddef>
#include <string>
#include <vector>

namespace orvik::tools::pack {

class BlockDeflater {
public:
    // The most input that primes a block: the window deflate can refer back to.
    static constexpr std::size_t kDictionaryBytes = 32768;

    BlockDeflater() noexcept;
    ~BlockDeflater();
    BlockDeflater(const BlockDeflater&) = delete;
    BlockDeflater& operator=(const BlockDeflater&) = delete;

    // Replaces `output` with the raw deflate data (level 6) of `input` past its first
    // `dictionary` bytes, which only prime the compressor and are not emitted. A block that is
    // not `last` ends byte-aligned with a sync flush, so that the next block's data follows it in
    // the same stream; the last one ends the stream. The same arguments always give the same
    // bytes. Returns false with `error` set to zlib's reason when deflate fails.
    bool Deflate(const std::vector<unsigned char>& input, std::size_t dictionary, bool last,
                 std::vector<unsigned char>& output, std::string& error);

private:
    z_stream stream_{};
    int init_;  // deflateInit2's result
};

}  // namespace orvik::tools::pack
