// The entry of every GoogleTest program that runs under Wine.
//
// GoogleTest keeps per-thread values on Windows with one watcher thread per
// thread that uses them, waiting for that thread to end; a watcher still
// waiting while the process exits makes Wine die now and then. So the tests
// run on a thread of their own whose watcher starts before the first test, and
// main returns only after the test thread is joined and its watcher has ended
// within a bound; a bound that runs out is reported on stderr and fails.
#include <windows.h>

#include <gtest/gtest-spi.h>
#include <process.h>
#include <tlhelp32.h>

#include <cstdio>
#include <set>
#include <vector>

#include <gmock/gmock.h>

#include "shared/utils/WinResources.h"

namespace {

using orvik::pkgshared::UniqueHandle;

std::set<DWORD> ThreadIds() {
    std::set<DWORD> ids;
    const UniqueHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = snapshot && ::Thread32First(snapshot.get(), &entry); more;
         more = ::Thread32Next(snapshot.get(), &entry)) {
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) {
            ids.insert(entry.th32ThreadID);
        }
    }
    return ids;
}

struct TestRun {
    int result = 1;
    std::vector<UniqueHandle> watchers;  // the threads that started to watch the test thread
};

unsigned __stdcall RunTests(void* context) noexcept {
    auto& run = *static_cast<TestRun*>(context);
    const std::set<DWORD> before = ThreadIds();
    {  // giving this thread its per-thread values starts its watcher
        ::testing::TestPartResultArray ignored;
        const ::testing::ScopedFakeTestPartResultReporter reporter(
            ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &ignored);
    }
    for (const DWORD id : ThreadIds()) {
        if (before.count(id) == 0) {
            run.watchers.emplace_back(::OpenThread(SYNCHRONIZE, FALSE, id));
        }
    }
    run.result = RUN_ALL_TESTS();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    TestRun run;
    const UniqueHandle thread(reinterpret_cast<HANDLE>(
        ::_beginthreadex(nullptr, 8u << 20, &RunTests, &run, 0, nullptr)));  // a main's stack
    constexpr DWORD kBoundMs = 10000;
    if (!thread || ::WaitForSingleObject(thread.get(), INFINITE) != WAIT_OBJECT_0) {
        std::fputs("test main: the test thread did not start\n", stderr);
        return 1;
    }
    std::vector<HANDLE> watchers;
    for (const auto& watcher : run.watchers) {
        if (watcher) {
            watchers.push_back(watcher.get());
        }
    }
    if (!watchers.empty() &&
        ::WaitForMultipleObjects(static_cast<DWORD>(watchers.size()), watchers.data(), TRUE,
                                 kBoundMs) != WAIT_OBJECT_0) {
        std::fprintf(stderr, "test main: the test thread's watcher did not end in %lu ms\n",
                     kBoundMs);
        return 1;
    }
    return run.result;
}
