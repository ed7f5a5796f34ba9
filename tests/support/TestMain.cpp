// The entry of every GoogleTest program that runs under Wine.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

namespace {

// On Windows GoogleTest keeps per-thread values with one watcher thread for
// every thread that uses them, started on that thread's first use. Started
// here, before any test, the main thread's watcher has long been running when
// the process ends. Started by the last check of a short test instead, it
// could still be starting up when the process ended, and Wine then died with
// a segmentation fault after every test had passed.
void StartMainThreadWatcher() {
    ::testing::TestPartResultArray unused;
    const ::testing::ScopedFakeTestPartResultReporter firstUse(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &unused);
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    StartMainThreadWatcher();
    return RUN_ALL_TESTS();
}
