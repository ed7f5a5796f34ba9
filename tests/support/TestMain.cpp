// The entry of every GoogleTest program that runs under Wine.
//
// On Windows GoogleTest keeps per-thread values with one watcher thread for
// every thread that uses them; the watcher waits for its thread to end. Were
// the tests run on the main thread, its watcher would still be waiting when
// the process ends, and Wine now and then dies with a segmentation fault while
// it stops such a thread during the exit (seen in one run of 5 to 20, always
// after every test had passed). So the tests run on a thread of their own, and
// the process ends only after that thread's watcher has ended too.
#include <windows.h>

#include <process.h>
#include <tlhelp32.h>

#include <gmock/gmock.h>

namespace {

// Stack of the thread the tests run on: as large as a main thread's may grow.
constexpr unsigned kTestThreadStack = 8u << 20;

// The number of threads of this process; 0 when it cannot be read.
int ThreadCount() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return 0;
    }
    int count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Thread32First(snapshot, &entry); more;
         more = ::Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    ::CloseHandle(snapshot);
    return count;
}

unsigned __stdcall RunTests(void* result) noexcept {
    *static_cast<int*>(result) = RUN_ALL_TESTS();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    const int threadsBefore = ThreadCount();
    int result = 1;
    const auto thread = reinterpret_cast<HANDLE>(
        ::_beginthreadex(nullptr, kTestThreadStack, &RunTests, &result, 0, nullptr));
    if (thread == nullptr) {
        return RUN_ALL_TESTS();
    }
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
    // The watcher (and any thread a test left behind) gets up to 5 s to end.
    for (int waited = 0; waited < 5000 && ThreadCount() > threadsBefore; waited += 10) {
        ::Sleep(10);
    }
    return result;
}
