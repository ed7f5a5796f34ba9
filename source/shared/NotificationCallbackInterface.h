#pragma once
#include <cstdint>
#include <string>

namespace orvik::pkgshared {

// How the caller of a long operation follows and steers it.
class NotificationCallbackInterface {
public:
    virtual ~NotificationCallbackInterface() = default;
    // True asks the operation to stop copying data.
    virtual bool IsCancelRequested() = 0;
    // A notification of two values (not sent while unpacking).
    virtual void Notify(std::int32_t first, std::int32_t second) = 0;
    // Progress: `kind` (10 while unpacking), percentage done (0.0 to 100.0),
    // the full target path of the entry about to be written, the source.
    virtual void NotifyProgress(std::int32_t kind, double percent, const std::wstring& target,
                                const std::wstring& source) = 0;
    // A question of three values (not asked while unpacking).
    virtual bool Query(std::int32_t first, std::int32_t second, std::int32_t third) = 0;
};

// Bytes done out of a total; 0 % while either is 0.
class ProgressTracker {
public:
    ProgressTracker(std::uint64_t total = 0, std::uint64_t done = 0) : total_(total), done_(done) {}
    void AddDone(std::uint64_t bytes) { done_ += bytes; }
    double Percentage() const {
        if (total_ == 0 || done_ == 0) {
            return 0.0;
        }
        const double percent = 100.0 / static_cast<double>(total_) * static_cast<double>(done_);
        return percent > 100.0 ? 100.0 : percent;
    }

private:
    std::uint64_t total_;
    std::uint64_t done_;
};

}  // namespace orvik::pkgshared
