#include <climits>
#include <cstdlib>
#include <memory>

#include <boost/filesystem/path.hpp>

#include "ResolvedPath.h"

namespace orvik::tools::pack {

std::optional<std::wstring> ResolvedPath(const std::wstring& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        ::realpath(boost::filesystem::path(path).c_str(), nullptr), &std::free);
    try {
        return resolved ? std::optional(boost::filesystem::path(resolved.get()).wstring())
                        : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;  // a link to a name that is not UTF-8: not one the tool can name
    }
}

}  // namespace orvik::tools::pack
