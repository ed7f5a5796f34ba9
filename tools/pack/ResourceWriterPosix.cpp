#include <cstring>

#include "FileMapping.h"
#include "PeHeaders.h"
#include "ResourceTree.h"
#include "ResourceWriterSystem.h"
#include "shared/TextConversion.h"

namespace orvik::tools::pack {

bool WriteThroughSystem(const std::wstring& templatePath, ByteSpan, const std::wstring&,
                        const std::vector<AddedResource>&, const std::string& why,
                        const std::wstring&, std::wstring& error) {
    error = L"cannot pack " + templatePath + L" on this system: " +
            orvik::pkgshared::Utf8ToWide(why) +
            L", so its resources cannot be rebuilt in one pass; the Windows tool "
            L"orvikpkg-pack.exe can still pack it through the system's resource update functions";
    return false;
}

bool ReadBackResources(const std::wstring& target, const std::vector<AddedResource>& added,
                       std::wstring& error) {
    FileMapping written;
    if (!written.Open(target, error)) {
        return false;
    }
    const ByteSpan image{written.Data(), written.Size()};
    const auto headers = PeHeaders::Read(image);
    const auto tree = headers ? ResourceTree::OfImage(image, *headers) : std::nullopt;
    if (!tree) {
        error = L"cannot read back " + target + L": its resource directory is not well formed";
        return false;
    }
    constexpr std::uint16_t kRcData = 10;
    for (const AddedResource& resource : added) {
        const ResourceTree::Leaf* leaf = tree->Find(kRcData, resource.name);
        if (leaf == nullptr || leaf->size != resource.bytes.size ||
            std::memcmp(leaf->bytes, resource.bytes.data, resource.bytes.size) != 0) {
            error = L"the resource " + std::wstring(resource.name.begin(), resource.name.end()) +
                    L" read back from " + target + L" differs from what was written";
            return false;
        }
    }
    return true;
}

}  // namespace orvik::tools::pack
