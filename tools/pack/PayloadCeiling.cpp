#include "PayloadCeiling.h"

namespace orvik::tools::pack {

std::optional<std::wstring> PayloadTooLarge(std::uint64_t size) {
    if (size <= kMaxPayloadBytes) {
        return std::nullopt;
    }
    return L"the payload archive is " + std::to_wstring(size) +
           L" bytes; an installer can carry at most " + std::to_wstring(kMaxPayloadBytes) +
           L" bytes (1.5 GiB), because a larger one cannot be loaded as a 32-bit program";
}

}  // namespace orvik::tools::pack
