#pragma once
// A file written once from its start, which tells why a write failed.
#include <cstddef>
#include <memory>
#include <string>

namespace orvik::tools::pack {

class OutputFile {
public:
    OutputFile();
    ~OutputFile();  // closes the file, if one was created
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Creates `path`, or empties it when it exists. Returns false with `error` set when it cannot.
    bool Create(const std::wstring& path, std::wstring& error);
    // Writes all `size` bytes after those written before, unbuffered. Returns false with `error`
    // naming the file, the system's reason and, when the disk may be full, what to do.
    bool Write(const void* data, std::size_t size, std::wstring& error);

private:
    struct Handle;
    std::unique_ptr<Handle> handle_;
    std::wstring path_;
};

}  // namespace orvik::tools::pack
