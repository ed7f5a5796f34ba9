#pragma once
// ConfigSettings: the attributes of one ini file's "[Settings]" section,
// saved safely (through a temporary file) with a timed retry.
#include <string>
#include <vector>

#include "shared/AbstractAttributes.h"
#include "shared/ConfigStore.h"
#include "shared/ILogger.h"
#include "shared/RetryClock.h"

namespace orvik::pkgshared {

class ConfigSettings : public AbstractAttributes {
public:
    static constexpr char kSection[] = "Settings";
    static constexpr int kFileMissing = -2;

    explicit ConfigSettings(std::wstring filePath);

    const std::wstring& FilePath() const { return filePath_; }
    // Reads the file. Returns 0, -2 when it does not exist (no attributes),
    // or another negative code when it cannot be read.
    int Load();

    std::optional<std::wstring> GetAttribute(const std::wstring& name) const override;
    // Marks the settings as changed; nothing is written until Save. Throws
    // BadArgumentException (name, value, "SetAttribute"), changing nothing,
    // when the value holds a line break.
    void SetAttribute(const std::wstring& name, const std::wstring& value) override;
    std::vector<std::wstring> ListAttributes() const override;

    bool HasUnsavedChanges() const { return unsaved_; }
    int LastStoreResult() const { return lastStoreResult_; }

    // Writes unsaved changes, unless the file exists but could not be read
    // (it is then never overwritten). A failing save is retried every 100 ms until
    // half a second has passed, each retry logged under "CLILIB". Failures
    // the store does not name as file-system conditions count as success.
    // Returns 0 or the last failure; after a failure the changes stay unsaved.
    int Save(ILogger& logger, IRetryClock& clock);

private:
    ConfigStore store_;
    std::wstring filePath_;
    bool unsaved_ = false;
    int loadResult_ = 0;       // of the last Load; a missing file counts as 0
    int lastStoreResult_ = 0;  // of the last Load or save attempt
};

// The store's result with every code outside the retry table turned into 0.
int MapStoreResultForRetry(int result);

}  // namespace orvik::pkgshared
