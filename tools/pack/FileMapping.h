#pragma once
// A whole file mapped read-only, for reading in place.
#include <cstdint>
#include <memory>
#include <string>

namespace orvik::tools::pack {

class FileMapping {
public:
    FileMapping();
    ~FileMapping();  // unmaps and closes
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    // Maps the file at `path`. False with `error` naming the file and the
    // system's reason when it cannot be opened or mapped; an empty file maps
    // to no bytes.
    bool Open(const std::wstring& path, std::wstring& error);

    const unsigned char* Data() const { return data_; }
    std::uint64_t Size() const { return size_; }

private:
    struct Handles;
    std::unique_ptr<Handles> handles_;
    const unsigned char* data_ = nullptr;
    std::uint64_t size_ = 0;
};

}  // namespace orvik::tools::pack
