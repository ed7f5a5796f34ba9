// Version comparison on pairs of texts (split at the first zero byte). The
// order must be antisymmetric and every text equal to itself.
#include <cstdint>
#include <cstdlib>

#include "fuzz/FuzzInput.h"
#include "shared/Version.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    orvik::fuzz::FuzzInput input(data, size);
    const std::string left = input.Until('\0');
    const std::string right = input.Rest();
    using orvik::pkgshared::CompareVersionTexts;
    const std::int32_t forward = CompareVersionTexts(left, right);
    const std::int32_t backward = CompareVersionTexts(right, left);
    if ((forward < 0) != (backward > 0) || (forward == 0) != (backward == 0) ||
        CompareVersionTexts(left, left) != 0) {
        std::abort();
    }
    return 0;
}
