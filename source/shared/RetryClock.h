#pragma once
#include <chrono>
#include <cstdint>

namespace orvik::pkgshared {

// Time source and wait of the configuration's save retry loop.
class IRetryClock {
public:
    virtual ~IRetryClock() = default;
    // Monotonic time in ticks of 100 nanoseconds.
    virtual std::int64_t NowTicks() = 0;
    virtual void Sleep(std::chrono::milliseconds duration) = 0;
};

// The steady clock and a real sleep.
class SystemRetryClock : public IRetryClock {
public:
    std::int64_t NowTicks() override;
    void Sleep(std::chrono::milliseconds duration) override;
};

}  // namespace orvik::pkgshared
