// The entry of every GoogleTest program that runs under Wine.
//
// GoogleTest keeps per-thread values on Windows with one watcher thread for
// every thread that uses them; the watcher waits for its thread to end. A
// watcher still waiting while the process exits makes Wine die now and then
// (a segmentation fault in the exit, after every test passed). So the tests
// run on a thread of their own whose watcher is started before the first
// test, and the process returns only after both threads have ended: the test
// thread is joined, its watcher waited for with a bound. A bound that runs out
// is reported on stderr and fails the program.
#include <windows.h>

#include <gtest/gtest-spi.h>
#include <process.h>
#include <tlhelp32.h>

#include <cerrno>
#include <cstdio>
#include <set>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "shared/utils/WinResources.h"

namespace {

using orvik::pkgshared::UniqueHandle;

// Stack of the thread the tests run on: as large as a main thread's may grow.
constexpr unsigned kTestThreadStack = 8u << 20;
constexpr DWORD kWatcherBoundMs = 10000;

// The ids of this process's threads; empty when they cannot be read.
std::set<DWORD> ThreadIds() {
    std::set<DWORD> ids;
    const UniqueHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    if (!snapshot) {
        return ids;
    }
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Thread32First(snapshot.get(), &entry); more;
         more = ::Thread32Next(snapshot.get(), &entry)) {
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) {
            ids.insert(entry.th32ThreadID);
        }
    }
    return ids;
}

struct TestRun {
    int result = 1;
    // The threads GoogleTest started to watch the test thread.
    std::vector<UniqueHandle> watchers;
};

// Makes GoogleTest give the calling thread its per-thread values now, which
// starts the thread's watcher; returns handles to the threads that started.
std::vector<UniqueHandle> StartWatcher() {
    const std::set<DWORD> before = ThreadIds();
    {
        ::testing::TestPartResultArray ignored;
        const ::testing::ScopedFakeTestPartResultReporter reporter(
            ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &ignored);
    }
    std::vector<UniqueHandle> started;
    for (const DWORD id : ThreadIds()) {
        UniqueHandle thread(before.count(id) == 0 ? ::OpenThread(SYNCHRONIZE, FALSE, id) : nullptr);
        if (thread) {
            started.push_back(std::move(thread));
        }
    }
    return started;
}

unsigned __stdcall RunTests(void* context) noexcept {
    auto& run = *static_cast<TestRun*>(context);
    run.watchers = StartWatcher();
    run.result = RUN_ALL_TESTS();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    TestRun run;
    const UniqueHandle thread(reinterpret_cast<HANDLE>(
        ::_beginthreadex(nullptr, kTestThreadStack, &RunTests, &run, 0, nullptr)));
    if (!thread) {
        std::fprintf(stderr, "test main: cannot start the test thread (errno %d)\n", errno);
        return 1;
    }
    ::WaitForSingleObject(thread.get(), INFINITE);
    std::vector<HANDLE> watchers;
    for (const auto& watcher : run.watchers) {
        watchers.push_back(watcher.get());
    }
    const DWORD waited = watchers.empty()
                             ? WAIT_OBJECT_0
                             : ::WaitForMultipleObjects(static_cast<DWORD>(watchers.size()),
                                                        watchers.data(), TRUE, kWatcherBoundMs);
    if (waited != WAIT_OBJECT_0) {
        std::fprintf(stderr, "test main: the test thread's watcher did not end within %lu ms\n",
                     kWatcherBoundMs);
        return 1;
    }
    return run.result;
}
