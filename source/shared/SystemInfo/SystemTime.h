#pragma once
#include <chrono>
#include <cstdint>
#include <ratio>

namespace OrvikPkg::SystemInfo {

// 100-nanosecond ticks.
using SystemTicks = std::chrono::duration<std::int64_t, std::ratio<1, 10000000>>;
// A system-clock time in 100-nanosecond ticks since 1970-01-01 UTC.
using SystemTime = std::chrono::time_point<std::chrono::system_clock, SystemTicks>;

// A FILETIME value (100-nanosecond ticks since 1601-01-01 UTC) as a system
// time, truncated toward zero to whole microseconds.
constexpr SystemTime SystemTimeFromFileTime(std::uint64_t fileTime) {
    constexpr std::int64_t kTicksFrom1601To1970 = 116444736000000000;
    const std::int64_t ticks = static_cast<std::int64_t>(fileTime) - kTicksFrom1601To1970;
    return SystemTime(SystemTicks(ticks / 10 * 10));
}

}  // namespace OrvikPkg::SystemInfo
