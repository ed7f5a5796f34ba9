#pragma once
// The packing tool's checks of what it is given, each printing what is wrong
// (ToolMessages) and answering whether packing may go on.
#include <string>

#include "FileMapping.h"
#include "PackOptions.h"
#include "TemplateCheck.h"

namespace orvik::tools::pack {

// Refuses an output that could not be written or would overwrite an input.
bool CheckOutput(const PackOptions& options);
// Maps the template into `mapped` and checks it into `check`; refuses, even
// with --force, a template that is not the bootstrapper's.
bool CheckTemplate(const PackOptions& options, FileMapping& mapped, TemplateCheck& check);
// Reads the payload archive to its end and reviews its entries; refused
// unless --force. Notes a suite.dat that no bin\suite.dat accompanies.
bool CheckPayload(const std::wstring& payload, const PackOptions& options);
// Refuses, even with --force, a payload too large for any installer to load.
bool CheckPayloadSize(const std::wstring& payload);
// Loads the online-install description as the bootstrapper does; refused
// unless `force`, and always when it cannot be read.
bool CheckOnlineInstall(const std::wstring& file, bool force);

}  // namespace orvik::tools::pack
