// The online-install XML reader over arbitrary resource bytes.
#include <cstdint>

#include "preinstall/OnlineInstallInformation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    using namespace orvik::pkgui::preinstall;
    const MemoryDataResource resource(data, static_cast<std::uint32_t>(size));
    OnlineInstallInformation information;
    try {
        information.Load(resource);
    } catch (const orvik::pkgshared::Exception&) {
        // Refusals are the reader's contract; crashes and leaks are not.
    }
    return 0;
}
