#include <gtest/gtest.h>

#include <windows.h>

#include "shared/ConfigStore.h"
#include "shared/utils/WinResources.h"
#include "support/FileLock.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

class ConfigStoreFileTest : public ::testing::Test {
protected:
    static ConfigStore Store(unsigned saveOptions) {
        ConfigStore::Options options;
        options.save = saveOptions;
        ConfigStore store(options);
        store.LoadText("[Settings]\ndisablelogging=true\nlogs-directory=C:\\Logs\n");
        return store;
    }
    // Names in the scratch folder other than `except`.
    std::vector<std::wstring> OtherFiles(const std::wstring& except) const {
        std::vector<std::wstring> names;
        for (fs::directory_iterator it(scratch_.Path()), end; it != end; ++it) {
            if (it->path().filename().wstring() != except) {
                names.push_back(it->path().filename().wstring());
            }
        }
        return names;
    }
    orvik::testing::ScratchDirectory scratch_;
    const std::string original_ = "[Settings]\r\noriginal=1\r\n";
};

const std::string kSaved = "[Settings]\r\ndisablelogging=true\r\nlogs-directory=C:\\Logs\r\n";

TEST_F(ConfigStoreFileTest, DirectAndSafeSavesWriteTheWholeFile) {
    for (unsigned options : {0u, unsigned{ConfigStore::kSafeSave},
                             unsigned{ConfigStore::kSafeSave | ConfigStore::kNumberedTemporary}}) {
        const fs::path target = scratch_ / L"orvikpkg.ini";
        WriteBytes(target, original_);
        ConfigStore store = Store(options);
        EXPECT_EQ(0, store.Save(target.wstring())) << options;
        EXPECT_EQ(kSaved, ReadBytes(target)) << options;
        EXPECT_EQ(target.wstring(), store.LastSavedPath());
        EXPECT_TRUE(OtherFiles(L"orvikpkg.ini").empty()) << options;
    }
}

TEST_F(ConfigStoreFileTest, SafeSaveCreatesAMissingTarget) {
    const fs::path target = scratch_ / L"new.ini";
    EXPECT_EQ(0, Store(ConfigStore::kSafeSave).Save(target.wstring()));
    EXPECT_EQ(kSaved, ReadBytes(target));
}

TEST_F(ConfigStoreFileTest, TargetWithTmpExtensionIsNotItsOwnTemporary) {
    const fs::path target = scratch_ / L"a.TMP";
    WriteBytes(target, original_);
    EXPECT_EQ(0, Store(ConfigStore::kSafeSave).Save(target.wstring()));
    EXPECT_EQ(kSaved, ReadBytes(target));
    EXPECT_TRUE(OtherFiles(L"a.TMP").empty());
}

TEST_F(ConfigStoreFileTest, LockedTargetFailsAtTheProbeAndLeavesNoTemporary) {
    const fs::path target = scratch_ / L"locked.ini";
    WriteBytes(target, original_);
    const UniqueHandle lock = orvik::testing::HoldWithoutSharing(target);
    ASSERT_TRUE(lock);
    for (unsigned options : {unsigned{ConfigStore::kSafeSave},
                             unsigned{ConfigStore::kSafeSave | ConfigStore::kNumberedTemporary}}) {
        ConfigStore store = Store(options);
        EXPECT_EQ(-13, store.Save(target.wstring()));
        EXPECT_TRUE(OtherFiles(L"locked.ini").empty());
        EXPECT_EQ(L"", store.LastSavedPath());
    }
}

TEST_F(ConfigStoreFileTest, NumberedTemporaryTakesTheFirstFreeName) {
    const fs::path target = scratch_ / L"s.ini";
    for (int n = 0; n < 3; ++n) {
        WriteBytes(scratch_ / (L"ini$$" + std::to_wstring(n) + L".TMP").c_str(), "taken");
    }
    EXPECT_EQ(
        0, Store(ConfigStore::kSafeSave | ConfigStore::kNumberedTemporary).Save(target.wstring()));
    EXPECT_EQ(kSaved, ReadBytes(target));
    EXPECT_FALSE(fs::exists(scratch_ / L"ini$$3.TMP"));  // used, then moved
    EXPECT_EQ("taken", ReadBytes(scratch_ / L"ini$$2.TMP"));
}

TEST_F(ConfigStoreFileTest, ThousandTakenNamesGiveNoTemporaryName) {
    const fs::path target = scratch_ / L"s.ini";
    WriteBytes(target, original_);
    for (int n = 0; n <= 999; ++n) {
        WriteBytes(scratch_ / (L"ini$$" + std::to_wstring(n) + L".TMP").c_str(), "");
    }
    EXPECT_EQ(
        -5003,
        Store(ConfigStore::kSafeSave | ConfigStore::kNumberedTemporary).Save(target.wstring()));
    EXPECT_EQ(original_, ReadBytes(target));
}

TEST_F(ConfigStoreFileTest, SaveFailingMidwayLeavesTheOriginalIntact) {
    const fs::path target = scratch_ / L"orvikpkg.ini";
    WriteBytes(target, original_);
    for (unsigned options : {unsigned{ConfigStore::kSafeSave},
                             unsigned{ConfigStore::kSafeSave | ConfigStore::kNumberedTemporary}}) {
        ConfigStore::Options storeOptions;
        storeOptions.save = options;
        storeOptions.maxLineLength = 20;
        ConfigStore store(storeOptions);
        // The first entry fits; the second cannot be split under the limit.
        store.LoadText("[s]\nk=v\nan-overly-long-key=" + std::string(40, 'v') + "\n");
        EXPECT_EQ(-2, store.Save(target.wstring()));
        EXPECT_EQ(original_, ReadBytes(target));
        EXPECT_TRUE(OtherFiles(L"orvikpkg.ini").empty());
    }
}

TEST_F(ConfigStoreFileTest, PathErrors) {
    ConfigStore store = Store(0);
    EXPECT_EQ(-22, store.Save(L""));
    EXPECT_EQ(-22, Store(ConfigStore::kSafeSave).Save(L""));
    EXPECT_EQ(-5004, store.Save(scratch_.Path().wstring()));  // a directory
    EXPECT_EQ(-13, Store(ConfigStore::kSafeSave).Save((scratch_ / L"no\\such\\dir.ini").wstring()));
}

TEST_F(ConfigStoreFileTest, LoadReplacesTheContents) {
    const fs::path file = scratch_ / L"load.ini";
    WriteBytes(file, "[Settings]\r\ndisablelogging = false\r\n");
    ConfigStore store = Store(0);
    EXPECT_EQ(0, store.LoadFile(file.wstring()));
    EXPECT_EQ("false", store.GetValue("Settings", "disablelogging"));
    EXPECT_EQ(std::nullopt, store.GetValue("Settings", "logs-directory"));
    EXPECT_EQ(-2, store.LoadFile((scratch_ / L"missing.ini").wstring()));
    EXPECT_EQ(std::nullopt, store.GetValue("Settings", "disablelogging"));
}

}  // namespace
}  // namespace orvik::pkgshared
