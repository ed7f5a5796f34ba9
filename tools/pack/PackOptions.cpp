#include "PackOptions.h"

namespace orvik::tools::pack {
namespace {

constexpr unsigned kMaxThreads = 256;

// The number `text` spells in decimal digits, when it is 1 to kMaxThreads.
unsigned ThreadCount(const std::wstring& text) {
    unsigned count = 0;
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9' || (count = count * 10 + (c - L'0')) > kMaxThreads) {
            return 0;
        }
    }
    return count;
}

}  // namespace

std::wstring UsageText() {
    return L"usage: orvikpkg-pack.exe --template TEMPLATE.exe --output OUT.exe\n"
           L"                         [--payload-dir DIR | --payload FILE]\n"
           L"                         [--online-install FILE.xml] [--force] [--threads N]\n"
           L"Copies TEMPLATE.exe to OUT.exe with the payload (a folder archived as a\n"
           L"gzip-compressed tar, or a ready archive) and the online-install description\n"
           L"as its resources ORVIKPKG_PAYLOAD and ORVIKPKG_ONLINE_INSTALL. Both are\n"
           L"checked as the bootstrapper will read them, and payload entries that would\n"
           L"land outside the extraction folder (absolute names, \"..\", links pointing\n"
           L"out) are refused; --force embeds them anyway. A folder is compressed by N\n"
           L"threads (default: one per processor), which gives the same bytes for any N.\n"
           L"Sign OUT.exe after packing.\n";
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
        if (argument == L"--threads") {
            const unsigned before = options.threads;
            if (i + 1 >= arguments.size() || (options.threads = ThreadCount(arguments[++i])) == 0) {
                error = L"--threads needs a whole number from 1 to " + std::to_wstring(kMaxThreads);
                return std::nullopt;
            }
            if (before != 0) {
                error = L"--threads given twice";
                return std::nullopt;
            }
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
