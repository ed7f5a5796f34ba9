#pragma once
// The parts of WriteResources (ResourceWriter.h) that each host does its own way, and the
// writing they share.
#include <string>
#include <vector>

#include "ByteSpan.h"
#include "RebuiltImage.h"

namespace orvik::tools::pack {

// Writes `pieces` in order to a new file at `target`. False with `error` naming the file and the
// system's reason, followed by `roomNote` and what to do when the disk may be full.
bool WritePieces(const std::wstring& target, const std::vector<ByteSpan>& pieces,
                 const std::wstring& roomNote, std::wstring& error);

// Writes the installer at `target` for a template (`image`, read from `templatePath`) that
// RebuiltImage cannot lay out, for the reason `why`. On Windows: a copy without its certificate
// table, changed through the system's resource update functions to hold `added`, its CheckSum
// that of its bytes. Elsewhere there are no such functions: false, with `error` naming the
// template and the reason, and that the Windows tool can pack it.
bool WriteThroughSystem(const std::wstring& templatePath, ByteSpan image,
                        const std::wstring& target, const std::vector<AddedResource>& added,
                        const std::string& why, const std::wstring& roomNote, std::wstring& error);

// Reads each of `added` back from the installer at `target` (through the system's resource
// functions on Windows, from its resource directory elsewhere) and compares it byte for byte.
// False with `error` saying what cannot be read or which resource differs.
bool ReadBackResources(const std::wstring& target, const std::vector<AddedResource>& added,
                       std::wstring& error);

}  // namespace orvik::tools::pack
