// orvikpkg-pack.exe: the packing tool on Windows, whose arguments arrive as UTF-16.
#include <string>
#include <vector>

#include "PackTool.h"

int wmain(int argc, wchar_t** argv) {
    return orvik::tools::pack::RunPackTool(std::vector<std::wstring>(argv + 1, argv + argc),
                                           L"orvikpkg-pack.exe");
}
