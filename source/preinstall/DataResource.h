#pragma once
#include <cstdint>

namespace orvik::pkgui::preinstall {

// A read-only block of bytes carried by the installer. Callers test Exists()
// first; the bytes stay valid for the life of the process and belong to
// nobody who asks for them.
class DataResource {
public:
    virtual ~DataResource() = default;
    virtual bool Exists() const = 0;
    // The first byte; null when the resource is absent.
    virtual const std::uint8_t* GetData() const = 0;
    // The size in bytes; 0 when the resource is absent.
    virtual std::uint32_t GetSize() const = 0;
};

// A resource over bytes owned by the caller (who keeps them alive), or an
// absent one.
class MemoryDataResource : public DataResource {
public:
    MemoryDataResource() = default;
    MemoryDataResource(const void* data, std::uint32_t size)
        : exists_(true), data_(static_cast<const std::uint8_t*>(data)), size_(size) {}
    bool Exists() const override { return exists_; }
    const std::uint8_t* GetData() const override { return data_; }
    std::uint32_t GetSize() const override { return size_; }

private:
    bool exists_ = false;
    const std::uint8_t* data_ = nullptr;
    std::uint32_t size_ = 0;
};

}  // namespace orvik::pkgui::preinstall
