#include "preinstall/PackageManagerCommandLine.h"

#include "shared/TextConversion.h"

namespace orvik::pkgui::preinstall {
namespace {

// Pieces joined by single blanks.
class ParameterList {
public:
    void Add(const std::wstring& piece) { orvik::pkgshared::AppendWithBlank(text_, piece); }
    void AddQuoted(const wchar_t* name, const std::wstring& value) {
        Add(name + (L'"' + value + L'"'));
    }
    const std::wstring& Text() const { return text_; }

private:
    std::wstring text_;
};

}  // namespace

std::wstring BuildInstallParameters(const CommandLineOptions& options, InstallMode mode,
                                    const std::wstring& configFile) {
    ParameterList list;
    list.Add(
        L"install orvik-package-manager orvik-package-manager-upgrader "
        L"orvik-package-manager-released-feed");
    list.Add(mode == InstallMode::None ? L"launch orvik-package-manager" : L"--hide-completion");
    if (options.passive) {
        list.Add(L"--passive --prevent-reboot");
    } else if (options.quiet) {
        list.Add(L"--quiet --prevent-reboot");
    } else if (options.autoInstall) {
        list.Add(L"--passive --accept-eulas --prevent-reboot");
    } else {
        list.Add(L"--prevent-reboot");
    }
    if (options.acceptEulas && !options.autoInstall) {
        list.Add(L"--accept-eulas");
    }
    if (!configFile.empty()) {
        list.AddQuoted(L"--config=", configFile);
    }
    if (options.noWinquelMutex) {
        list.Add(L"--no-winquel-mutex");
    }
    list.Add(L"--update-feeds --force-essential --force-locked");
    return list.Text();
}

std::wstring BuildLaunchParameters(const CommandLineOptions& options, const LaunchInputs& inputs) {
    ParameterList list;
    if (inputs.mode == InstallMode::OnlineInstall) {
        list.Add(L"--uri=" + inputs.downloadUri);
    } else if (inputs.mode == InstallMode::Suite) {
        list.Add(L"install-suite suite.dat");
    }
    if (options.passive) {
        list.Add(L"--passive");
    } else if (options.quiet) {
        list.Add(L"--quiet");
    }
    if (options.acceptEulas)
        list.Add(L"--accept-eulas");
    if (options.preventReboot)
        list.Add(L"--prevent-reboot");
    if (options.hideCompletion)
        list.Add(L"--hide-completion");
    if (options.noWinquelMutex)
        list.Add(L"--no-winquel-mutex");
    if (inputs.withProduct) {
        list.Add(L"--install-orvikpm-with-product --update-feeds");
    }
    if (inputs.customResourceConfig) {
        list.AddQuoted(L"--custom-resource-config=", *inputs.customResourceConfig);
    }
    if (inputs.mode != InstallMode::OnlineInstall || inputs.withProduct) {
        list.AddQuoted(L"--config=", inputs.configFile);
    }
    if (!options.passThroughArguments.empty()) {
        list.Add(options.passThroughArguments);
    }
    return list.Text();
}

}  // namespace orvik::pkgui::preinstall
