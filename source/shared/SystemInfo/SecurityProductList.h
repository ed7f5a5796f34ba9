#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace OrvikPkg::SystemInfo {

struct SecurityProduct {
    std::wstring displayName;
    bool enabled = false;  // the product's state is "on"
};

// The products of one kind in the order the Security Center returns them.
struct SecurityProductList {
    enum Status : std::uint32_t {
        kLoaded = 0,
        kNotAvailable = 1,  // no Security Center product list on this system; also before loading
        kServiceNotRunning = 2,
    };
    std::vector<SecurityProduct> products;
    std::uint32_t status = kNotAvailable;
};

}  // namespace OrvikPkg::SystemInfo
