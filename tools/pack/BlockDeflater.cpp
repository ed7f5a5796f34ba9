#include "BlockDeflater.h"

namespace orvik::tools::pack {
namespace {

constexpr int kLevel = 6;
constexpr int kRawWindowBits = -15;  // no zlib or gzip wrapper
constexpr int kMemoryLevel = 8;

std::string ZlibError(const char* call, int code, const z_stream& stream) {
    return std::string(call) + " failed with zlib code " + std::to_string(code) +
           (stream.msg != nullptr ? std::string(" (") + stream.msg + ")" : std::string());
}

}  // namespace

BlockDeflater::BlockDeflater() noexcept
    : init_(deflateInit2(&stream_, kLevel, Z_DEFLATED, kRawWindowBits, kMemoryLevel,
                         Z_DEFAULT_STRATEGY)) {}

BlockDeflater::~BlockDeflater() {
    if (init_ == Z_OK) {
        deflateEnd(&stream_);
    }
}

bool BlockDeflater::Deflate(const std::vector<unsigned char>& input, std::size_t dictionary,
                            bool last, std::vector<unsigned char>& output, std::string& error) {
    if (init_ != Z_OK) {
        error = ZlibError("deflateInit2", init_, stream_);
        return false;
    }
    int code = deflateReset(&stream_);
    if (code == Z_OK && dictionary > 0) {
        code = deflateSetDictionary(&stream_, input.data(), static_cast<uInt>(dictionary));
    }
    if (code != Z_OK) {
        error = ZlibError("deflateSetDictionary", code, stream_);
        return false;
    }
    const uLong size = static_cast<uLong>(input.size() - dictionary);
    // Room for the data, the sync marker and the end of the stream in one call.
    output.resize(deflateBound(&stream_, size) + 16);
    stream_.next_in = const_cast<Bytef*>(input.data() + dictionary);
    stream_.avail_in = static_cast<uInt>(size);
    stream_.next_out = output.data();
    stream_.avail_out = static_cast<uInt>(output.size());
    code = deflate(&stream_, last ? Z_FINISH : Z_SYNC_FLUSH);
    if (code != (last ? Z_STREAM_END : Z_OK) || stream_.avail_in != 0 || stream_.avail_out == 0) {
        error = ZlibError("deflate", code, stream_);
        return false;
    }
    output.resize(output.size() - stream_.avail_out);
    return true;
}

}  // namespace orvik::tools::pack
