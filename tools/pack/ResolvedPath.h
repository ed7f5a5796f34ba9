#pragma once
// Where a path really leads, every link along it followed.
#include <optional>
#include <string>

namespace orvik::tools::pack {

// The full path of the file or folder `path` names, with every symbolic link,
// junction and mount along it resolved, in the host's form; nothing when it
// cannot be opened (it does not exist, or a link points nowhere).
std::optional<std::wstring> ResolvedPath(const std::wstring& path);

}  // namespace orvik::tools::pack
