#pragma once
// The resource directory of a PE image: types, names and languages, each
// leaf a span of bytes. Pure logic: it reads and lays out the bytes only.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ByteSpan.h"

namespace orvik::tools::pack {

struct PeHeaders;

class ResourceTree {
public:
    // A name or a number at one level. Names sort before numbers, each in
    // ordinal order, as the system's binary search expects.
    struct Key {
        std::u16string name;  // empty for a number
        std::uint16_t id = 0;
        bool operator<(const Key& other) const;
    };
    struct Leaf {
        const unsigned char* bytes = nullptr;  // unless `deferred`
        std::uint32_t size = 0;
        std::uint32_t codePage = 0;
        // When not negative, the caller writes this leaf's bytes itself: its number among those.
        int deferred = -1;
    };
    // The bytes at an image address, or null when [rva, rva + size) is not in the image's file.
    using AddressReader =
        std::function<const unsigned char*(std::uint32_t rva, std::uint32_t size)>;

    // Reads the tree whose root directory is at `root`, with `size` bytes of
    // directory data from there on. Nullopt when it is not a well-formed tree
    // of three levels.
    static std::optional<ResourceTree> Read(const unsigned char* root, std::uint32_t size,
                                            const AddressReader& read);
    // The tree of the resource directory of `image`, whose headers are `headers`; nullopt when
    // it has none or it is not well formed. Its leaves point into `image`.
    static std::optional<ResourceTree> OfImage(ByteSpan image, const PeHeaders& headers);

    // Adds or replaces the leaf of type `type`, name `name` (upper case) and language `language`.
    void Set(std::uint16_t type, const std::u16string& name, std::uint16_t language,
             const Leaf& leaf);

    // The leaf of type `type` and name `name` in the lowest-numbered language it has; null when
    // there is none. Valid until the tree changes.
    const Leaf* Find(std::uint16_t type, const std::u16string& name) const;

    struct Layout {
        // The directory, then the bytes of every leaf that is not deferred.
        std::vector<unsigned char> bytes;
        // Where each deferred leaf's bytes go, from the section's start, by its number; they
        // follow `bytes` in that order, each 8-byte aligned.
        std::vector<std::uint64_t> deferredOffsets;
        std::uint64_t size = 0;  // of the section's data in all
    };
    // Lays the tree out as a resource section at image address `sectionRva`.
    // Deferred leaves must be numbered 0 to n - 1, each once.
    Layout LayOut(std::uint32_t sectionRva) const;

private:
    using Languages = std::map<std::uint16_t, Leaf>;
    using Names = std::map<Key, Languages>;
    std::map<Key, Names> types_;
};

}  // namespace orvik::tools::pack
