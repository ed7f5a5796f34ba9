#include "preinstall/CommandLineOptions.h"

#include <string_view>

#include "shared/TextConversion.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::ToLowerAscii;

bool StartsWith(std::wstring_view text, std::wstring_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// Tries the option table in order; true when `argument` was consumed.
bool ConsumeOption(const std::wstring& argument, CommandLineOptions& options) {
    struct Option {
        const wchar_t* text;
        bool CommandLineOptions::*flag;
    };
    static constexpr Option kOptions[] = {
        {L"--passive", &CommandLineOptions::passive},
        {L"--quiet", &CommandLineOptions::quiet},
        {L"--accept-eulas", &CommandLineOptions::acceptEulas},
        {L"--prevent-reboot", &CommandLineOptions::preventReboot},
        {L"--hide-completion", &CommandLineOptions::hideCompletion},
        {L"--autoinstall-orvikpkg", &CommandLineOptions::autoInstall},
        {L"--no-winquel-mutex", &CommandLineOptions::noWinquelMutex},
        {L"--install-orvikpm-with-product", &CommandLineOptions::installWithProduct},
    };
    for (const Option& option : kOptions) {
        if (options.*option.flag || argument != option.text) {
            continue;
        }
        if (option.flag == &CommandLineOptions::passive) {
            options.passive = !options.quiet;  // consumed and ignored after --quiet
        } else if (option.flag == &CommandLineOptions::quiet) {
            options.quiet = true;
            options.passive = false;
        } else {
            options.*option.flag = true;
        }
        return true;
    }
    return false;
}

}  // namespace

bool IsObsoleteOption(const std::wstring& argument) {
    const std::wstring lower = ToLowerAscii(argument);
    return lower == L"--bootstrapper" || lower == L"--unflatten-suite" || lower == L"/c" ||
           StartsWith(lower, L"/c:") || StartsWith(lower, L"/t:") || StartsWith(lower, L"/r:");
}

ParsedCommandLine ParseCommandLine(const std::vector<std::wstring>& arguments) {
    ParsedCommandLine parsed;
    CommandLineOptions& options = parsed.options;
    for (const std::wstring& argument : arguments) {
        if (ConsumeOption(argument, options)) {
            continue;
        }
        const std::wstring lower = ToLowerAscii(argument);
        if (IsObsoleteOption(argument)) {
            parsed.obsoleteArguments.push_back(argument);
        } else if (lower == L"/q" || StartsWith(lower, L"/q:")) {
            options.passive = true;
            parsed.obsoleteArguments.push_back(argument);
        } else {
            orvik::pkgshared::AppendWithBlank(options.passThroughArguments, argument);
        }
    }
    return parsed;
}

}  // namespace orvik::pkgui::preinstall
