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

std::wstring UsageText(const std::wstring& program) {
    const std::wstring indent(program.size(), L' ');
    return L"usage: " + program + L" --template TEMPLATE.exe --output OUT.exe\n" + L"       " +
           indent + L" [--payload-dir DIR | --payload FILE]\n" + L"       " + indent +
           L" [--online-install FILE.xml] [--force] [--threads N]\n" + L"       " + program +
           L" --version [--template TEMPLATE.exe]\n" + L"       " + program + L" --help\n" +
           L"Copies TEMPLATE.exe (the bootstrapper template, or an installer packed from\n"
           L"it) to OUT.exe with the payload (a folder archived as a gzip-compressed tar,\n"
           L"or a ready archive) and the online-install description as its resources\n"
           L"ORVIKPKG_PAYLOAD and ORVIKPKG_ONLINE_INSTALL. The payload must hold a Windows\n"
           L"program Install.exe at its root, and every entry must unpack on Windows\n"
           L"as it is named and inside the extraction folder; the description must load.\n"
           L"--force embeds what fails these checks anyway, with the reasons printed.\n"
           L"A folder is compressed by N threads (default: one per processor), which\n"
           L"gives the same bytes for any N, and the same on Windows as on Linux.\n"
           L"A signature of the template is dropped: sign OUT.exe after packing.\n"
           L"Exit codes: 0 written, 1 refused or failed (nothing written), 2 wrong\n"
           L"command line.\n";
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
    for (const std::wstring& argument : arguments) {
        if (argument == L"--help" || argument == L"-h") {
            options.help = true;
            return options;
        }
    }
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::wstring& argument = arguments[i];
        if (argument == L"--version") {
            options.version = true;
            continue;
        }
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
    if (options.version) {
        return options;
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
