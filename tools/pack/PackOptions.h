#pragma once
// The packing tool's command line.
#include <optional>
#include <string>
#include <vector>

namespace orvik::tools::pack {

struct PackOptions {
    std::wstring templatePath;
    std::wstring outputPath;
    std::wstring payloadDirectory;  // archived as a gzip-compressed pax tar
    std::wstring payloadFile;       // embedded as it is
    std::wstring onlineInstallFile;
    bool force = false;    // embed even what the bootstrapper will refuse
    unsigned threads = 0;  // compressing a folder; 0: one per processor
    bool help = false;     // --help or -h: print the usage, nothing else
    bool version = false;  // --version: print the tool's version and the template's
};

// The usage text of the program named `program`, ending with a line feed.
std::wstring UsageText(const std::wstring& program);

// Parses the arguments after the program's name. On a wrong command line
// returns nothing and sets `error` to what is wrong. With --help or -h
// anywhere, the rest is not checked; --version needs no other argument and
// takes --template.
std::optional<PackOptions> ParsePackOptions(const std::vector<std::wstring>& arguments,
                                            std::wstring& error);

}  // namespace orvik::tools::pack
