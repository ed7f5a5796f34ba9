#pragma once
// orvikpkg-pack: builds an installer from the bootstrapper template by adding the payload and
// the online-install description as resources. The same on every host: only its entry
// (MainWin.cpp, MainPosix.cpp) differs.
#include <string>
#include <vector>

namespace orvik::tools::pack {

// Runs the tool with `arguments` (those after the program's name), printing to standard output
// and standard error; `program` is the name its usage shows. Returns the exit code: 0 written
// (or the usage or version printed); 1 refused or failed (nothing written); 2 a wrong command
// line.
int RunPackTool(const std::vector<std::wstring>& arguments, const std::wstring& program);

}  // namespace orvik::tools::pack
