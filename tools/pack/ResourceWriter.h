#pragma once
#include <functional>
#include <string>
#include <vector>

namespace orvik::tools::pack {

struct ResourceInput {
    std::wstring name;  // an RT_RCDATA resource name
    std::wstring file;  // whose bytes become the resource
    std::string bytes;  // the resource's bytes instead, when `file` is empty
};

// Copies `templatePath` to `outputPath` with `resources` added (language
// neutral), then reads them back from the copy and compares them with their
// files. The copy is made under a temporary name and moved into place only
// when everything matched; on failure no output is left and `error` says why.
// Each input file is mapped, never read into memory whole.
// `mayCommit` is asked once, after the copy was written and read back and
// before it is moved into place; false leaves no output and `error` empty.
// An exception from `mayCommit` (or any other) passes on, and no output and
// no temporary file are left.
// The copy carries no certificate table: a signature of the template would no
// longer match it. The copy's CheckSum is that of its bytes.
bool WriteResources(const std::wstring& templatePath, const std::wstring& outputPath,
                    const std::vector<ResourceInput>& resources,
                    const std::function<bool()>& mayCommit, std::wstring& error);

}  // namespace orvik::tools::pack
