#include "ResourceWriter.h"

#include <memory>

#include <boost/filesystem/operations.hpp>

#include "ErrorText.h"
#include "FileMapping.h"
#include "OutputFile.h"
#include "ResourceWriterSystem.h"

namespace orvik::tools::pack {
namespace {

namespace fs = boost::filesystem;

constexpr std::uint64_t kMostResourceBytes = 0xffffffffu;

// The bytes of each of `resources`, under its name: a read-only mapping of its file (kept in
// `mappings`), or the bytes it holds.
bool MapResources(const std::vector<ResourceInput>& resources,
                  std::vector<std::unique_ptr<FileMapping>>& mappings,
                  std::vector<AddedResource>& added, std::wstring& error) {
    for (const ResourceInput& input : resources) {
        ByteSpan bytes{reinterpret_cast<const unsigned char*>(input.bytes.data()),
                       input.bytes.size()};
        if (!input.file.empty()) {
            mappings.push_back(std::make_unique<FileMapping>());
            if (!mappings.back()->Open(input.file, error)) {
                return false;
            }
            bytes = {mappings.back()->Data(), mappings.back()->Size()};
            if (bytes.size == 0 || bytes.size > kMostResourceBytes) {
                error = input.file + L": a resource must hold 1 byte to 4 GiB - 1";
                return false;
            }
        }
        added.push_back({std::u16string(input.name.begin(), input.name.end()), bytes});
    }
    return true;
}

// "; FOLDER had N bytes free and the installer needs about M", for an installer at
// `outputPath` of about `needed` bytes.
std::wstring RoomNote(const std::wstring& outputPath, std::uint64_t needed) {
    fs::path folder = fs::path(outputPath).parent_path();
    if (folder.empty()) {
        folder = L".";
    }
    boost::system::error_code code;
    const fs::space_info space = fs::space(folder, code);
    return L"; " + folder.wstring() + L" had " + std::to_wstring(code ? 0 : space.available) +
           L" bytes free and the installer needs about " + std::to_wstring(needed);
}

// Writes the installer at `target`: the template with its resource section rebuilt in one
// sequential pass when its layout allows, otherwise through the system's functions.
bool WriteInstaller(const std::wstring& templatePath, ByteSpan image, const std::wstring& target,
                    const std::vector<AddedResource>& added, const std::wstring& roomNote,
                    std::wstring& error) {
    std::string why;
    if (const auto rebuilt = RebuiltImage::Make(image, added, why)) {
        return WritePieces(target, rebuilt->Pieces(), roomNote, error);
    }
    return WriteThroughSystem(templatePath, image, target, added, why, roomNote, error);
}

}  // namespace

bool WritePieces(const std::wstring& target, const std::vector<ByteSpan>& pieces,
                 const std::wstring& roomNote, std::wstring& error) {
    OutputFile out;
    out.SetRoomNote(roomNote);
    if (!out.Create(target, error)) {
        return false;
    }
    for (const ByteSpan& piece : pieces) {
        if (!out.Write(piece.data, static_cast<std::size_t>(piece.size), error)) {
            return false;
        }
    }
    return true;
}

bool WriteResources(const std::wstring& templatePath, const std::wstring& outputPath,
                    const std::vector<ResourceInput>& resources,
                    const std::function<bool()>& mayCommit, std::wstring& error) {
    std::vector<std::unique_ptr<FileMapping>> mappings;
    std::vector<AddedResource> added;
    FileMapping templateFile;
    if (!MapResources(resources, mappings, added, error) ||
        !templateFile.Open(templatePath, error)) {
        return false;
    }
    const ByteSpan image{templateFile.Data(), templateFile.Size()};
    std::uint64_t needed = image.size;
    for (const AddedResource& resource : added) {
        needed += resource.bytes.size;
    }
    const std::wstring temporary = outputPath + L".partial";
    // Removes the temporary file on every way out, exceptions included, unless it was moved
    // into place.
    struct Partial {
        const std::wstring& path;
        bool moved = false;
        ~Partial() {
            boost::system::error_code ignored;
            if (!moved) {
                fs::remove(path, ignored);
            }
        }
    } partial{temporary};
    const bool written = WriteInstaller(templatePath, image, temporary, added,
                                        RoomNote(outputPath, needed), error) &&
                         ReadBackResources(temporary, added, error) && mayCommit();
    if (!written) {
        return false;
    }
    boost::system::error_code code;
    fs::rename(temporary, outputPath, code);
    if (code) {
        error = L"cannot move " + temporary + L" to " + outputPath + L": " +
                SystemErrorText(static_cast<unsigned long>(code.value()));
        return false;
    }
    partial.moved = true;
    return true;
}

}  // namespace orvik::tools::pack
