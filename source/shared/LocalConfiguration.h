#pragma once
// LocalConfiguration: the settings of this machine, from two ini files in the
// configuration store's format, each read from its "[Settings]" section:
//
//  1. the package manager's own "orvikpkg.ini" in the installed package
//     manager's directory (the registry's install path); absent when the
//     package manager is not installed;
//  2. the system defaults "orvik-package-manager-defaults.ini" in the
//     settings directory: the "settingsdir" setting of orvikpkg.ini when it
//     is set, otherwise the path guide's settings directory.
//
// orvikpkg.ini wins over the defaults: the defaults only fill in what it does
// not set. "settingsdir" is honoured only in orvikpkg.ini (the defaults file
// cannot move itself) and cannot be changed through SetString, since the
// defaults are read from it once, when the configuration loads. A setting
// absent from both files is reported as absent.
#include <memory>
#include <string>

#include "shared/ConfigSettings.h"
#include "shared/ILocalConfiguration.h"
#include "shared/ILogger.h"
#include "shared/RetryClock.h"

namespace orvik::pkgshared {

class PathGuide;

class LocalConfiguration : public ILocalConfiguration {
public:
    static constexpr wchar_t kPackageManagerFileName[] = L"orvikpkg.ini";
    static constexpr wchar_t kDefaultsFileName[] = L"orvik-package-manager-defaults.ini";
    static constexpr wchar_t kSettingsDirectorySetting[] = L"settingsdir";

    // `logger` and `clock` must outlive the configuration.
    explicit LocalConfiguration(ILogger& logger, IRetryClock& clock = SystemClock());

    // Loads the files of the installed package manager and the settings
    // directory named by `paths`.
    void Load(const PathGuide& paths);
    // Loads orvikpkg.ini from `packageManagerDirectory` (empty: none) and the
    // defaults file from "settingsdir" or `settingsDirectory`. Missing files
    // are empty layers. Throws Exception -125126 when a file's path exceeds
    // 259 characters and -125235 when a present file cannot be read.
    void Load(const std::wstring& packageManagerDirectory, const std::wstring& settingsDirectory);

    std::optional<bool> GetBool(const std::wstring& name) const override;
    std::optional<std::int64_t> GetNumber(const std::wstring& name) const override;
    std::optional<std::wstring> GetString(const std::wstring& name) const override;

    // Writes `name` into orvikpkg.ini and saves it. Throws Exception -125069
    // for "settingsdir", -125201 for a value with a line break, and -125227
    // when orvikpkg.ini cannot be written (or the package manager is not
    // installed).
    void SetString(const std::wstring& name, const std::wstring& value);
    void SetBool(const std::wstring& name, bool value);

    // Where the layers were read from; empty for a layer that has no file.
    std::wstring PackageManagerFile() const;
    std::wstring DefaultsFile() const;

private:
    static IRetryClock& SystemClock();
    // The layer that answers `name`: orvikpkg.ini, then the defaults.
    const ConfigSettings* Layer(const std::wstring& name) const;
    static std::unique_ptr<ConfigSettings> LoadLayer(const std::wstring& directory,
                                                     const wchar_t* fileName);

    ILogger& logger_;
    IRetryClock& clock_;
    std::unique_ptr<ConfigSettings> packageManager_;
    std::unique_ptr<ConfigSettings> defaults_;
};

}  // namespace orvik::pkgshared
