#include "shared/ConfigSettings.h"

#include <algorithm>
#include <thread>

#include <boost/format.hpp>

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

constexpr std::int64_t kRetryWindowTicks = 5'000'000;  // 0.5 s
constexpr std::chrono::milliseconds kRetryWait(100);
constexpr wchar_t kCategory[] = L"CLILIB";
constexpr std::int32_t kLevel = 1;

ConfigStore::Options SafeSaveOptions() {
    ConfigStore::Options options;
    options.save = ConfigStore::kSafeSave;
    return options;
}

}  // namespace

std::int64_t SystemRetryClock::NowTicks() {
    return std::chrono::duration_cast<
               std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void SystemRetryClock::Sleep(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

int MapStoreResultForRetry(int result) {
    static constexpr int kRetried[] = {-2,    -3,    -5,    -6,    -12,   -13,   -22,   -24,  -28,
                                       -5001, -5002, -5003, -5004, -5021, -5022, -5023, -5024};
    return std::find(std::begin(kRetried), std::end(kRetried), result) != std::end(kRetried)
               ? result
               : 0;
}

ConfigSettings::ConfigSettings(std::wstring filePath)
    : store_(SafeSaveOptions()), filePath_(std::move(filePath)) {}

int ConfigSettings::Load() {
    const int result = store_.LoadFile(filePath_);
    loadResult_ = result == kFileMissing ? 0 : result;
    lastStoreResult_ = loadResult_;
    return result;
}

std::optional<std::wstring> ConfigSettings::GetAttribute(const std::wstring& name) const {
    if (auto value = store_.GetValue(kSection, WideToUtf8(name))) {
        return Utf8ToWide(*value);
    }
    return std::nullopt;
}

void ConfigSettings::SetAttribute(const std::wstring& name, const std::wstring& value) {
    if (!store_.SetValue(kSection, WideToUtf8(name), WideToUtf8(value))) {
        ORVIK_THROW(BadArgumentException, name, value, L"SetAttribute");
    }
    unsaved_ = true;
}

std::vector<std::wstring> ConfigSettings::ListAttributes() const {
    std::vector<std::wstring> names;
    for (const std::string& key : store_.Keys(kSection)) {
        names.push_back(Utf8ToWide(key));
    }
    return names;
}

int ConfigSettings::Save(ILogger& logger, IRetryClock& clock) {
    if (!unsaved_ || (loadResult_ != 0 && loadResult_ != ConfigStore::kInvalidPath)) {
        return lastStoreResult_;
    }
    const std::int64_t deadline = clock.NowTicks() + kRetryWindowTicks;
    bool retrying = false;
    for (;;) {
        const int result = MapStoreResultForRetry(store_.Save(filePath_));
        lastStoreResult_ = result;
        if (result == 0) {
            unsaved_ = false;
        }
        if (retrying) {
            if (result == 0) {
                logger.Log(kCategory, kLevel, L"ConfigStore::Save: Retry success!");
                return 0;
            }
            logger.Log(kCategory, kLevel,
                       (boost::wformat(
                            L"ConfigStore::Save: Retry failed with ConfigStore::ResultCode %1%") %
                        result)
                           .str());
        } else if (result == 0) {
            return 0;
        }
        logger.Log(kCategory, kLevel,
                   (boost::wformat(L"ConfigStore::Save : Retry %1%") % filePath_).str());
        clock.Sleep(kRetryWait);
        retrying = clock.NowTicks() <= deadline;
        if (!retrying) {
            return result;
        }
    }
}

}  // namespace orvik::pkgshared
