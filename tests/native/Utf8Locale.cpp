// Wide names (non-ASCII entry and file names) convert through the C library's
// and Boost.Filesystem's locale on Linux: both are set to UTF-8 before any
// test runs, as the Windows build handles wide names natively.
#include <clocale>
#include <locale>

#include <boost/filesystem/path.hpp>

namespace {

const bool kUtf8 = [] {
    std::setlocale(LC_ALL, "C.UTF-8");
    boost::filesystem::path::imbue(std::locale("C.UTF-8"));
    return true;
}();

}  // namespace
