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
};

// The usage text, ending with a line feed.
std::wstring UsageText();

// Parses the arguments after the program's name. On a wrong command line
// returns nothing and sets `error` to what is wrong.
std::optional<PackOptions> ParsePackOptions(const std::vector<std::wstring>& arguments,
                                            std::wstring& error);

}  // namespace orvik::tools::pack
