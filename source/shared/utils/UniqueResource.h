#pragma once
// UniqueResource: sole owner of one system resource, released by the close
// function it is parameterised by. Move-only. Releasing keeps the thread's
// last-error value (and errno) as they were, so a failing call's error can
// still be read after its guards have run.
#include <cerrno>
#include <utility>

#include <windows.h>

namespace orvik::pkgshared {

// A value is owned when it is not null.
template <typename T>
struct NonNullValidity {
    static constexpr T Invalid() { return T(); }
    static bool IsValid(T value) { return value != T(); }
};

// Handles: null and INVALID_HANDLE_VALUE both mean "nothing owned".
struct HandleValidity {
    static constexpr HANDLE Invalid() { return nullptr; }
    static bool IsValid(HANDLE value) { return value != nullptr && value != INVALID_HANDLE_VALUE; }
};

template <typename T, auto Close, typename Validity = NonNullValidity<T>>
class UniqueResource {
public:
    UniqueResource() noexcept = default;
    explicit UniqueResource(T value) noexcept : value_(value) {}
    UniqueResource(UniqueResource&& other) noexcept : value_(other.release()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        if (this != &other) {
            reset(other.release());
        }
        return *this;
    }
    UniqueResource(const UniqueResource&) = delete;
    UniqueResource& operator=(const UniqueResource&) = delete;
    ~UniqueResource() { reset(); }

    // Closes what is owned (if anything) and takes `value`.
    void reset(T value = Validity::Invalid()) noexcept {
        const T old = std::exchange(value_, value);
        if (Validity::IsValid(old)) {
            const DWORD lastError = ::GetLastError();
            const int savedErrno = errno;
            Close(old);
            errno = savedErrno;
            ::SetLastError(lastError);
        }
    }
    // Gives up ownership without closing.
    [[nodiscard]] T release() noexcept { return std::exchange(value_, Validity::Invalid()); }
    T get() const noexcept { return value_; }
    // Address for out-parameters; closes what is owned first.
    T* put() noexcept {
        reset();
        return &value_;
    }
    bool is_valid() const noexcept { return Validity::IsValid(value_); }
    explicit operator bool() const noexcept { return is_valid(); }

private:
    T value_ = Validity::Invalid();
};

}  // namespace orvik::pkgshared
