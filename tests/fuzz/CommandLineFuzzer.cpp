// The option parser over arguments made of UTF-16 code units (separated by
// zero units), and the obsolete-option test on each.
#include <cstdint>

#include "fuzz/FuzzInput.h"
#include "preinstall/CommandLineOptions.h"
#include "shared/Exception.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    using namespace orvik::pkgui::preinstall;
    orvik::fuzz::FuzzInput input(data, size);
    std::vector<std::wstring> arguments;
    while (input.Remaining() > 1 && arguments.size() < 64) {
        arguments.push_back(input.Until<wchar_t, 2>(L'\0'));
    }
    try {
        (void)ParseCommandLine(arguments);
    } catch (const orvik::pkgshared::Exception&) {
        // Wrong command lines are refused by contract.
    }
    for (const std::wstring& argument : arguments) {
        (void)IsObsoleteOption(argument);
    }
    return 0;
}
