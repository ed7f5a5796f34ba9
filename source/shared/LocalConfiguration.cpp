#include "shared/LocalConfiguration.h"

#include <boost/filesystem/path.hpp>

#include "shared/Exception.h"
#include "shared/PathGuide.h"
#include "shared/Raise.h"
#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

constexpr std::int32_t kNotConfigurableCode = -125069;
constexpr std::int32_t kPathTooLongCode = -125126;
constexpr std::int32_t kCannotWriteCode = -125227;
constexpr std::int32_t kCannotLoadCode = -125235;
constexpr size_t kMaxPathLength = 259;

}  // namespace

LocalConfiguration::LocalConfiguration(ILogger& logger, IRetryClock& clock)
    : logger_(logger), clock_(clock) {}

IRetryClock& LocalConfiguration::SystemClock() {
    static SystemRetryClock clock;
    return clock;
}

std::unique_ptr<ConfigSettings> LocalConfiguration::LoadLayer(const std::wstring& directory,
                                                              const wchar_t* fileName) {
    const std::wstring path = (boost::filesystem::path(directory) / fileName).wstring();
    if (path.size() > kMaxPathLength) {
        ORVIK_THROW(Exception, kPathTooLongCode, path);
    }
    auto layer = std::make_unique<ConfigSettings>(path);
    const int result = layer->Load();
    if (result != 0 && result != ConfigSettings::kFileMissing) {
        ORVIK_THROW(Exception, kCannotLoadCode, path, ToDecimal(result));
    }
    return layer;
}

void LocalConfiguration::Load(const PathGuide& paths) {
    std::wstring installDirectory;
    if (!paths.GetInstallDirectory(installDirectory)) {
        installDirectory.clear();
    }
    Load(installDirectory, paths.GetSettingsDirectory());
}

void LocalConfiguration::Load(const std::wstring& packageManagerDirectory,
                              const std::wstring& settingsDirectory) {
    packageManager_.reset();
    defaults_.reset();
    if (!packageManagerDirectory.empty()) {
        packageManager_ = LoadLayer(packageManagerDirectory, kPackageManagerFileName);
    }
    std::optional<std::wstring> movedSettings;
    if (packageManager_) {
        movedSettings = packageManager_->GetString(kSettingsDirectorySetting);
    }
    defaults_ = LoadLayer(movedSettings.value_or(settingsDirectory), kDefaultsFileName);
}

const ConfigSettings* LocalConfiguration::Layer(const std::wstring& name) const {
    if (packageManager_ && packageManager_->GetAttribute(name)) {
        return packageManager_.get();
    }
    if (defaults_ && ToLowerAscii(name) != kSettingsDirectorySetting &&
        defaults_->GetAttribute(name)) {
        return defaults_.get();
    }
    return nullptr;
}

std::optional<bool> LocalConfiguration::GetBool(const std::wstring& name) const {
    const ConfigSettings* layer = Layer(name);
    return layer != nullptr ? layer->GetBool(name) : std::nullopt;
}

std::optional<std::int64_t> LocalConfiguration::GetNumber(const std::wstring& name) const {
    const ConfigSettings* layer = Layer(name);
    return layer != nullptr ? layer->GetNumber(name) : std::nullopt;
}

std::optional<std::wstring> LocalConfiguration::GetString(const std::wstring& name) const {
    const ConfigSettings* layer = Layer(name);
    return layer != nullptr ? layer->GetString(name) : std::nullopt;
}

void LocalConfiguration::SetString(const std::wstring& name, const std::wstring& value) {
    if (ToLowerAscii(name) == kSettingsDirectorySetting) {
        ORVIK_THROW(Exception, kNotConfigurableCode, name);
    }
    if (!packageManager_) {
        ORVIK_THROW(Exception, kCannotWriteCode, std::wstring(kPackageManagerFileName));
    }
    packageManager_->SetAttribute(name, value);
    if (packageManager_->Save(logger_, clock_) != 0) {
        ORVIK_THROW(Exception, kCannotWriteCode, packageManager_->FilePath());
    }
}

void LocalConfiguration::SetBool(const std::wstring& name, bool value) {
    SetString(name, value ? L"true" : L"false");
}

std::wstring LocalConfiguration::PackageManagerFile() const {
    return packageManager_ ? packageManager_->FilePath() : std::wstring();
}

std::wstring LocalConfiguration::DefaultsFile() const {
    return defaults_ ? defaults_->FilePath() : std::wstring();
}

}  // namespace orvik::pkgshared
