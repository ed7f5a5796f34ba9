#include "ResourceTree.h"

#include <algorithm>
#include <tuple>

#include "PeHeaders.h"

namespace orvik::tools::pack {
namespace {

constexpr std::uint32_t kDirectoryBytes = 16;  // characteristics, time, version, two counts
constexpr std::uint32_t kEntryBytes = 8;       // name or number, then where it leads
constexpr std::uint32_t kDataEntryBytes = 16;  // address, size, code page, reserved
constexpr std::uint32_t kHighBit = 0x80000000u;
constexpr std::size_t kMostLeaves = 65536;

std::uint32_t Get16(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0] | (p[1] << 8));
}
std::uint32_t Get32(const unsigned char* p) {
    return Get16(p) | (Get16(p + 2) << 16);
}
void Put16(std::vector<unsigned char>& out, std::size_t at, std::uint32_t value) {
    out[at] = static_cast<unsigned char>(value);
    out[at + 1] = static_cast<unsigned char>(value >> 8);
}
void Put32(std::vector<unsigned char>& out, std::size_t at, std::uint32_t value) {
    Put16(out, at, value & 0xffff);
    Put16(out, at + 2, value >> 16);
}
std::uint64_t AlignUp(std::uint64_t value, std::uint64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

// Reads one directory's entries: each key with the offset it leads to and
// whether that is a subdirectory.
struct Entry {
    ResourceTree::Key key;
    std::uint32_t offset;
    bool directory;
};
std::optional<std::vector<Entry>> ReadDirectory(const unsigned char* root, std::uint32_t size,
                                                std::uint32_t at) {
    if (at > size || size - at < kDirectoryBytes) {
        return std::nullopt;
    }
    const std::uint32_t count = Get16(root + at + 12) + Get16(root + at + 14);
    if ((size - at - kDirectoryBytes) / kEntryBytes < count) {
        return std::nullopt;
    }
    std::vector<Entry> entries;
    for (std::uint32_t i = 0; i < count; ++i) {
        const unsigned char* entry = root + at + kDirectoryBytes + i * kEntryBytes;
        const std::uint32_t name = Get32(entry), target = Get32(entry + 4);
        Entry read{{}, target & ~kHighBit, (target & kHighBit) != 0};
        if ((name & kHighBit) == 0) {
            read.key.id = static_cast<std::uint16_t>(name);
        } else {
            const std::uint32_t offset = name & ~kHighBit;
            if (offset > size || size - offset < 2) {
                return std::nullopt;
            }
            const std::uint32_t length = Get16(root + offset);
            if (length == 0 || (size - offset - 2) / 2 < length) {
                return std::nullopt;
            }
            for (std::uint32_t c = 0; c < length; ++c) {
                read.key.name += static_cast<char16_t>(Get16(root + offset + 2 + 2 * c));
            }
        }
        entries.push_back(std::move(read));
    }
    return entries;
}

struct Writer {
    std::vector<unsigned char> bytes;
    std::size_t Reserve(std::size_t size) {
        const std::size_t at = bytes.size();
        bytes.resize(at + size);
        return at;
    }
};

}  // namespace

bool ResourceTree::Key::operator<(const Key& other) const {
    // Names (non-empty) first; the empty name of a number sorts after them.
    return std::make_tuple(name.empty(), name, id) <
           std::make_tuple(other.name.empty(), other.name, other.id);
}

std::optional<ResourceTree> ResourceTree::Read(const unsigned char* root, std::uint32_t size,
                                               const AddressReader& read) {
    ResourceTree tree;
    std::size_t leaves = 0;
    const auto types = ReadDirectory(root, size, 0);
    if (!types) {
        return std::nullopt;
    }
    for (const Entry& type : *types) {
        const auto names = type.directory ? ReadDirectory(root, size, type.offset) : std::nullopt;
        if (!names) {
            return std::nullopt;
        }
        for (const Entry& name : *names) {
            const auto languages =
                name.directory ? ReadDirectory(root, size, name.offset) : std::nullopt;
            if (!languages) {
                return std::nullopt;
            }
            for (const Entry& language : *languages) {
                if (language.directory || !language.key.name.empty() || language.offset > size ||
                    size - language.offset < kDataEntryBytes || ++leaves > kMostLeaves) {
                    return std::nullopt;
                }
                const unsigned char* data = root + language.offset;
                Leaf leaf{nullptr, Get32(data + 4), Get32(data + 8)};
                leaf.bytes = read(Get32(data), leaf.size);
                if (leaf.bytes == nullptr) {
                    return std::nullopt;
                }
                tree.types_[type.key][name.key][language.key.id] = leaf;
            }
        }
    }
    return tree;
}

void ResourceTree::Set(std::uint16_t type, const std::u16string& name, std::uint16_t language,
                       const Leaf& leaf) {
    types_[Key{{}, type}][Key{name, 0}][language] = leaf;
}

std::optional<ResourceTree> ResourceTree::OfImage(ByteSpan image, const PeHeaders& headers) {
    const ByteSpan root =
        headers.FromAddress(image, headers.DirectoryRva(PeHeaders::kResourceDirectory));
    if (root.size == 0) {
        return std::nullopt;
    }
    return Read(
        root.data, static_cast<std::uint32_t>(std::min<std::uint64_t>(root.size, 0xffffffffu)),
        [&](std::uint32_t rva, std::uint32_t size) { return headers.At(image, rva, size); });
}

const ResourceTree::Leaf* ResourceTree::Find(std::uint16_t type, const std::u16string& name) const {
    const auto names = types_.find(Key{{}, type});
    if (names == types_.end()) {
        return nullptr;
    }
    const auto languages = names->second.find(Key{name, 0});
    return languages == names->second.end() || languages->second.empty()
               ? nullptr
               : &languages->second.begin()->second;
}

ResourceTree::Layout ResourceTree::LayOut(std::uint32_t sectionRva) const {
    // Directories first (the root, then every type's, then every name's),
    // then the data entries, the names, and the leaves' bytes.
    std::size_t directories = kDirectoryBytes + kEntryBytes * types_.size(), dataEntries = 0;
    std::uint64_t strings = 0;
    const auto addName = [&strings](const Key& key) {
        strings += key.name.empty() ? 0 : 2 + 2 * key.name.size();
    };
    for (const auto& [type, names] : types_) {
        addName(type);
        directories += kDirectoryBytes + kEntryBytes * names.size();
        for (const auto& [name, languages] : names) {
            addName(name);
            directories += kDirectoryBytes + kEntryBytes * languages.size();
            dataEntries += kDataEntryBytes * languages.size();
        }
    }
    Writer out;
    out.Reserve(directories + dataEntries);
    out.Reserve(AlignUp(strings, 8));
    std::size_t nextDirectory = 0, nextDataEntry = directories;
    std::size_t nextString = directories + dataEntries;

    Layout layout;
    std::vector<std::pair<std::size_t, const Leaf*>> dataEntriesToFill;
    const auto writeDirectory = [&](std::size_t count, std::size_t named) {
        const std::size_t at = nextDirectory;
        nextDirectory += kDirectoryBytes + kEntryBytes * count;
        Put16(out.bytes, at + 12, static_cast<std::uint32_t>(named));
        Put16(out.bytes, at + 14, static_cast<std::uint32_t>(count - named));
        return at + kDirectoryBytes;
    };
    const auto writeKey = [&](std::size_t entry, const Key& key) {
        if (key.name.empty()) {
            Put32(out.bytes, entry, key.id);
            return;
        }
        Put32(out.bytes, entry, static_cast<std::uint32_t>(nextString) | kHighBit);
        Put16(out.bytes, nextString, static_cast<std::uint32_t>(key.name.size()));
        for (std::size_t c = 0; c < key.name.size(); ++c) {
            Put16(out.bytes, nextString + 2 + 2 * c, key.name[c]);
        }
        nextString += 2 + 2 * key.name.size();
    };
    const auto namedCount = [](const auto& map) {
        return static_cast<std::size_t>(std::count_if(
            map.begin(), map.end(), [](const auto& e) { return !e.first.name.empty(); }));
    };
    // Breadth first: each level's directories are placed after the level above.
    std::size_t entry = writeDirectory(types_.size(), namedCount(types_));
    std::vector<std::pair<std::size_t, const Names*>> typeEntries;
    for (const auto& [type, names] : types_) {
        writeKey(entry, type);
        typeEntries.emplace_back(entry, &names);
        entry += kEntryBytes;
    }
    std::vector<std::pair<std::size_t, const Languages*>> nameEntries;
    for (const auto& [typeEntry, names] : typeEntries) {
        Put32(out.bytes, typeEntry + 4, static_cast<std::uint32_t>(nextDirectory) | kHighBit);
        std::size_t at = writeDirectory(names->size(), namedCount(*names));
        for (const auto& [name, languages] : *names) {
            writeKey(at, name);
            nameEntries.emplace_back(at, &languages);
            at += kEntryBytes;
        }
    }
    for (const auto& [nameEntry, languages] : nameEntries) {
        Put32(out.bytes, nameEntry + 4, static_cast<std::uint32_t>(nextDirectory) | kHighBit);
        std::size_t at = writeDirectory(languages->size(), 0);
        for (const auto& [language, leaf] : *languages) {
            Put32(out.bytes, at, language);
            Put32(out.bytes, at + 4, static_cast<std::uint32_t>(nextDataEntry));
            dataEntriesToFill.emplace_back(nextDataEntry, &leaf);
            nextDataEntry += kDataEntryBytes;
            at += kEntryBytes;
        }
    }
    // The template's own leaves are copied; deferred ones only get their places.
    std::vector<std::pair<std::size_t, const Leaf*>> deferred;
    for (const auto& [dataEntry, leaf] : dataEntriesToFill) {
        Put32(out.bytes, dataEntry + 4, leaf->size);
        Put32(out.bytes, dataEntry + 8, leaf->codePage);
        if (leaf->deferred >= 0) {
            deferred.emplace_back(dataEntry, leaf);
            continue;
        }
        const std::size_t at = out.Reserve(AlignUp(leaf->size, 8));
        std::copy(leaf->bytes, leaf->bytes + leaf->size, out.bytes.begin() + at);
        Put32(out.bytes, dataEntry, sectionRva + static_cast<std::uint32_t>(at));
    }
    std::sort(deferred.begin(), deferred.end(),
              [](const auto& a, const auto& b) { return a.second->deferred < b.second->deferred; });
    std::uint64_t end = out.bytes.size();
    for (const auto& [dataEntry, leaf] : deferred) {
        Put32(out.bytes, dataEntry, sectionRva + static_cast<std::uint32_t>(end));
        layout.deferredOffsets.push_back(end);
        end = AlignUp(end + leaf->size, 8);
    }
    layout.size = deferred.empty() ? out.bytes.size()
                                   : layout.deferredOffsets.back() + deferred.back().second->size;
    layout.bytes = std::move(out.bytes);
    return layout;
}

}  // namespace orvik::tools::pack
