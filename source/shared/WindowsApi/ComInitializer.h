#pragma once
#include "shared/WindowsApi/IWindowsComApi.h"

namespace OrvikPkg::WindowsApi {

// Initialises COM on the calling thread for the guard's life. COM that is
// already up in another mode is accepted (and left alone). Throws
// WindowsFunctionErrorException naming "CoInitializeEx" otherwise.
class ComInitializer {
public:
    explicit ComInitializer(IWindowsComApi& api);
    ~ComInitializer();
    ComInitializer(const ComInitializer&) = delete;
    ComInitializer& operator=(const ComInitializer&) = delete;
    // True when this guard initialised COM (and will uninitialise it).
    bool Initialized() const { return initialized_; }

private:
    IWindowsComApi& api_;
    bool initialized_ = false;
};

}  // namespace OrvikPkg::WindowsApi
