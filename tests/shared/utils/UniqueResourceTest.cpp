#include <gtest/gtest.h>

#include <cerrno>

#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {
namespace {

int g_closed = 0;
HANDLE g_lastClosed = nullptr;

// Fails like a close function that overwrites the caller's error state.
BOOL WINAPI NoisyClose(HANDLE handle) {
    ++g_closed;
    g_lastClosed = handle;
    ::SetLastError(ERROR_INVALID_HANDLE);
    errno = EBADF;
    return FALSE;
}

using NoisyHandle = UniqueResource<HANDLE, &NoisyClose, HandleValidity>;

class UniqueResourceTest : public testing::Test {
protected:
    void SetUp() override {
        g_closed = 0;
        g_lastClosed = nullptr;
    }
    static HANDLE Fake(uintptr_t value) { return reinterpret_cast<HANDLE>(value); }
};

// Closing keeps the caller's last error and errno; null and invalid handles
// are never closed; release gives up without closing; put closes first.
TEST_F(UniqueResourceTest, ResetReleaseAndPut) {
    { NoisyHandle empty, invalid(INVALID_HANDLE_VALUE), null(nullptr); }
    EXPECT_EQ(0, g_closed);
    NoisyHandle handle(Fake(0x10));
    ::SetLastError(ERROR_ACCESS_DENIED);
    errno = ENOSPC;
    handle.reset();
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), ::GetLastError());
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ(Fake(0x10), g_lastClosed);
    EXPECT_FALSE(handle);

    handle.reset(Fake(0x40));
    EXPECT_EQ(Fake(0x40), handle.release());
    EXPECT_EQ(1, g_closed);
    handle.reset(Fake(0x50));
    HANDLE* slot = handle.put();
    EXPECT_EQ(Fake(0x50), g_lastClosed);
    EXPECT_EQ(nullptr, *slot);
    *slot = Fake(0x60);
    EXPECT_EQ(Fake(0x60), handle.get());
}

TEST_F(UniqueResourceTest, OwnershipMovesAndClosesExactlyOnce) {
    {
        NoisyHandle first(Fake(0x20));
        NoisyHandle second(std::move(first));
        EXPECT_FALSE(first);
        NoisyHandle third(Fake(0x30));
        third = std::move(second);  // closes 0x30
        EXPECT_EQ(1, g_closed);
        EXPECT_EQ(Fake(0x30), g_lastClosed);
        EXPECT_EQ(Fake(0x20), third.get());
    }
    EXPECT_EQ(2, g_closed);
    EXPECT_EQ(Fake(0x20), g_lastClosed);
}

TEST_F(UniqueResourceTest, RealHandleIsClosed) {
    UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ASSERT_TRUE(event);
    HANDLE duplicate = nullptr;
    ASSERT_TRUE(::DuplicateHandle(::GetCurrentProcess(), event.get(), ::GetCurrentProcess(),
                                  &duplicate, 0, FALSE, DUPLICATE_SAME_ACCESS));
    UniqueHandle second(duplicate);
    second.reset();
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(duplicate, &flags));
    EXPECT_TRUE(::GetHandleInformation(event.get(), &flags));
}

}  // namespace
}  // namespace orvik::pkgshared
