#pragma once
// The bootstrapper's command line: option flags, text passed through to the
// package manager, and obsolete options that stop the run.
#include <string>
#include <vector>

namespace orvik::pkgui::preinstall {

struct CommandLineOptions {
    bool passive = false;
    bool quiet = false;
    bool acceptEulas = false;
    bool preventReboot = false;
    bool hideCompletion = false;
    bool autoInstall = false;
    bool noWinquelMutex = false;
    // Starts true and is never cleared: installing with the product is the
    // default, so "--install-orvikpm-with-product" is never recognised and is
    // passed through like any unknown argument.
    bool installWithProduct = true;
    // Unrecognised arguments, unchanged and unquoted, joined by one blank.
    std::wstring passThroughArguments;
};

struct ParsedCommandLine {
    CommandLineOptions options;
    // Obsolete arguments as given, in command-line order.
    std::vector<std::wstring> obsoleteArguments;
};

// Parses the arguments after the program's own name. Options match the whole
// argument, case-sensitively, and each is recognised once: a repeated option
// is passed through. "--quiet" wins over "--passive" in either order. Never
// fails: unknown arguments are passed through, obsolete ones are listed, and
// "/q" or "/q:..." (any case) is listed as obsolete and also sets `passive`,
// so that the resulting error goes to the console.
ParsedCommandLine ParseCommandLine(const std::vector<std::wstring>& arguments);

// True for "--bootstrapper", "--unflatten-suite", "/c" and anything starting
// with "/c:", "/t:" or "/r:", ignoring case.
bool IsObsoleteOption(const std::wstring& argument);

}  // namespace orvik::pkgui::preinstall
