#pragma once
// A copy of a PE image whose resource section is rebuilt to hold more
// resources, described as the pieces to write in file order, so that a
// payload of any size goes to disk in one sequential pass. Pure logic.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ByteSpan.h"

namespace orvik::tools::pack {

// An RT_RCDATA resource, language neutral.
struct AddedResource {
    std::u16string name;  // ASCII; stored in upper case
    ByteSpan bytes;
};

class RebuiltImage {
public:
    // Null, with `why` set, when `image` is not laid out as this expects: a
    // PE32 or PE32+ image whose resource directory starts its own section,
    // which fills whole file-alignment units, followed only by discardable
    // sections that nothing but the base relocation directory points into.
    // The resources of `added` replace any of the same name; the image's own
    // are kept. The copy carries no certificate table (its bytes are left
    // out, see PeHeaders::LengthWithoutCertificate, and its entry cleared)
    // and its CheckSum is that of its own bytes.
    // `image` and the added bytes must outlive the result.
    static std::unique_ptr<RebuiltImage> Make(ByteSpan image,
                                              const std::vector<AddedResource>& added,
                                              std::string& why);

    // The copy's bytes in order; the added resources' spans are among them, not copied.
    const std::vector<ByteSpan>& Pieces() const { return pieces_; }

private:
    RebuiltImage() = default;

    std::vector<unsigned char> head_;     // headers and sections before the resources, patched
    std::vector<unsigned char> section_;  // the resource directory and the image's own resources
    std::vector<unsigned char> zeros_;    // padding
    std::vector<ByteSpan> pieces_;
};

}  // namespace orvik::tools::pack
