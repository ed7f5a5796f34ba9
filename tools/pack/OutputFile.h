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
    // naming the file, the system's reason and, when the disk may be full, the room note and
    // what to do.
    bool Write(const void* data, std::size_t size, std::wstring& error);
    // Text put before the advice when a write may have run out of room, such as
    // "; /out had 5 bytes free"; empty unless set.
    void SetRoomNote(std::wstring note) { roomNote_ = std::move(note); }

private:
    // Writes up to `size` (more than 0) bytes: how many were written, or 0 with the system's
    // error (0 when it gave none) in `code`.
    std::size_t WritePart(const unsigned char* data, std::size_t size, unsigned long& code);

    struct Handle;
    std::unique_ptr<Handle> handle_;
    std::wstring path_, roomNote_;
};

}  // namespace orvik::tools::pack
