#include "TemplateCheck.h"

#include "PeHeaders.h"
#include "ResourceTree.h"

namespace orvik::tools::pack {
namespace {

constexpr std::uint32_t kI386 = 0x14c, kPe32 = 0x10b, kDll = 0x2000, kWindowsGui = 2;
constexpr std::uint16_t kRcData = 10;
constexpr char16_t kMark[] = u"ORVIKPKG_TEMPLATE";

// The mark's bytes as characters without trailing NULs; empty when the image has none.
std::wstring MarkText(ByteSpan image, const PeHeaders& h) {
    const auto tree = ResourceTree::OfImage(image, h);
    const ResourceTree::Leaf* mark = tree ? tree->Find(kRcData, kMark) : nullptr;
    if (mark == nullptr) {
        return {};
    }
    std::wstring text(mark->bytes, mark->bytes + mark->size);
    text.erase(text.find_last_not_of(L'\0') + 1);
    return text;
}

}  // namespace

TemplateCheck CheckTemplate(ByteSpan image) {
    TemplateCheck check;
    const auto h = PeHeaders::Read(image);
    if (!h) {
        check.found = L"not a Windows program";
        return check;
    }
    check.hasCertificate = h->HasCertificate();
    if (h->magic != kPe32 || h->machine != kI386) {
        check.found = L"a 64-bit program";
        return check;
    }
    if ((h->characteristics & kDll) == 0 && h->subsystem == kWindowsGui) {
        check.version = MarkText(image, *h);
    }
    if (check.version.empty()) {
        check.found = L"a Windows program but not an installer template";
    }
    return check;
}

}  // namespace orvik::tools::pack
