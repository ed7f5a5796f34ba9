// Message formatting with catalog-like texts: placeholders, widths and stray
// percent signs in a fuzzed text, with fuzzed arguments.
#include <cstdint>

#include "fuzz/FuzzInput.h"
#include "shared/ErrorMessage.h"
#include "shared/TextConversion.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    orvik::fuzz::FuzzInput input(data, size);
    using orvik::pkgshared::Utf8ToWide;
    const std::wstring text = Utf8ToWide(input.Until('\0'));
    const std::wstring arg1 = Utf8ToWide(input.Until('\0'));
    const std::wstring arg2 = Utf8ToWide(input.Until('\0'));
    const std::wstring arg3 = Utf8ToWide(input.Until('\0'));
    const std::wstring arg4 = Utf8ToWide(input.Rest());
    (void)orvik::pkgshared::FormatMessageText(text, arg1, arg2, arg3, arg4);
    return 0;
}
