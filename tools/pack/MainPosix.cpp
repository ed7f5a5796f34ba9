// orvikpkg-pack: the packing tool on Linux, whose arguments and file names are UTF-8 whatever
// the user's locale, as the archives it writes store them.
#include <clocale>
#include <locale>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "PackTool.h"
#include "shared/TextConversion.h"

int main(int argc, char** argv) {
    // Wide names convert to and from file names (Boost.Filesystem) and archive entry names
    // (libarchive, through the C library) as UTF-8.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    boost::filesystem::path::imbue(std::locale("C.UTF-8"));
    std::vector<std::wstring> arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.push_back(orvik::pkgshared::Utf8ToWide(argv[i]));
    }
    return orvik::tools::pack::RunPackTool(arguments, L"orvikpkg-pack");
}
