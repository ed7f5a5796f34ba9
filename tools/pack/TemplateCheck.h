#pragma once
// Whether a file can serve as the bootstrapper's template: a 32-bit x86 Windows GUI program
// (not a DLL) that carries the RT_RCDATA resource ORVIKPKG_TEMPLATE, whose bytes are the
// template's version text. An installer packed from a template is one too. Pure logic.
#include <string>

#include "ByteSpan.h"

namespace orvik::tools::pack {

struct TemplateCheck {
    // The mark's text, each byte a character, trailing NULs dropped, when the image is a
    // template (never empty then); else empty.
    std::wstring version;
    // Empty when the image is a template; else what it is instead, one of
    // "not a Windows program", "a 64-bit program" and
    // "a Windows program but not an installer template".
    std::wstring found;
    // Whether the image's security directory names a certificate table (a signature).
    bool hasCertificate = false;
};

TemplateCheck CheckTemplate(ByteSpan image);

}  // namespace orvik::tools::pack
