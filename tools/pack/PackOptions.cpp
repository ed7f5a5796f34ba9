#include "PackOptions.h"

namespace orvik::tools::pack {

std::wstring UsageText() {
    return L"usage: orvikpkg-pack.exe --template TEMPLATE.exe --output OUT.exe\n"
           L"                         [--payload-dir DIR | --payload FILE]\n"
           L"                         [--online-install FILE.xml] [--force]\n"
           L"Copies TEMPLATE.exe to OUT.exe with the payload (a folder archived as a\n"
           L"gzip-compressed tar, or a ready archive) and the online-install description\n"
           L"as its resources ORVIKPKG_PAYLOAD and ORVIKPKG_ONLINE_INSTALL. Both are\n"
           L"checked as the bootstrapper will read them, and payload entries that would\n"
           L"land outside the extraction folder (absolute names, \"..\", links pointing\n"
           L"out) are refused; --force embeds them anyway. Sign OUT.exe after packing.\n";
}

std::optional<PackOptions> ParsePackOptions(const std::vector<std::wstring>& arguments,
                                            std::wstring& error) {
    PackOptions options;
    struct Valued {
        const wchar_t* name;
        std::wstring PackOptions::*field;
    };
    static const Valued kValued[] = {
        {L"--template", &PackOptions::templatePath},
        {L"--output", &PackOptions::outputPath},
        {L"--payload-dir", &PackOptions::payloadDirectory},
        {L"--payload", &PackOptions::payloadFile},
        {L"--online-install", &PackOptions::onlineInstallFile},
    };
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::wstring& argument = arguments[i];
        if (argument == L"--force") {
            options.force = true;
            continue;
        }
        const Valued* match = nullptr;
        for (const Valued& valued : kValued) {
            if (argument == valued.name) {
                match = &valued;
            }
        }
        if (match == nullptr) {
            error = L"unknown argument '" + argument + L"'";
            return std::nullopt;
        }
        if (i + 1 >= arguments.size() || arguments[i + 1].empty()) {
            error = argument + L" needs a value";
            return std::nullopt;
        }
        if (!(options.*(match->field)).empty()) {
            error = argument + L" given twice";
            return std::nullopt;
        }
        options.*(match->field) = arguments[++i];
    }
    if (options.templatePath.empty() || options.outputPath.empty()) {
        error = L"--template and --output are required";
    } else if (!options.payloadDirectory.empty() && !options.payloadFile.empty()) {
        error = L"--payload-dir and --payload exclude each other";
    } else if (options.payloadDirectory.empty() && options.payloadFile.empty() &&
               options.onlineInstallFile.empty()) {
        error = L"nothing to embed: give a payload, an online-install description or both";
    } else {
        return options;
    }
    return std::nullopt;
}

}  // namespace orvik::tools::pack
