#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "ErrorText.h"
#include "LittleEndian.h"
#include "PeChecksum.h"
#include "PeHeaders.h"
#include "RebuiltImage.h"
#include "ResourceWriter.h"
#include "shared/utils/WinResources.h"

namespace orvik::tools::pack {
namespace {

using orvik::pkgshared::UniqueHandle;
using orvik::pkgshared::UniqueHmodule;

const WORD kNeutral = MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL);

std::wstring LastError(const std::wstring& what) {
    return what + L": " + WindowsErrorText(::GetLastError());
}

// Room for an installer: the folder it is written to, the bytes free there
// before writing began, and about how many it needs.
struct Room {
    std::wstring folder;
    std::uint64_t free = 0, needed = 0;
};

// Why a write failed, from the thread's last error; when the disk may be
// full, with the room there was.
std::wstring WriteError(const std::wstring& what, const Room& room) {
    const DWORD code = ::GetLastError();
    std::wstring text = what + L": " + WindowsErrorText(code);
    if (MayBeDiskFull(code)) {
        text += L"; " + room.folder + L" had " + std::to_wstring(room.free) +
                L" bytes free and the installer needs about " + std::to_wstring(room.needed) +
                L": " + kFreeSpaceAdvice;
    }
    return text;
}

struct ViewUnmapper {
    void operator()(const void* view) const { ::UnmapViewOfFile(view); }
};
using UniqueView = std::unique_ptr<const void, ViewUnmapper>;

// A resource's bytes: a read-only mapping of a whole file, or bytes held by
// its ResourceInput.
struct MappedFile {
    UniqueHandle file;
    UniqueHandle mapping;
    UniqueView view;
    const void* data = nullptr;
    DWORD size = 0;
};

bool Map(const ResourceInput& input, MappedFile& mapped, std::wstring& error) {
    if (input.file.empty()) {
        mapped.data = input.bytes.data();
        mapped.size = static_cast<DWORD>(input.bytes.size());
        return true;
    }
    const std::wstring& path = input.file;
    mapped.file.reset(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!mapped.file) {
        error = LastError(L"cannot open " + path);
        return false;
    }
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(mapped.file.get(), &size)) {
        error = LastError(L"cannot read the size of " + path);
        return false;
    }
    if (size.QuadPart == 0 || size.QuadPart > MAXDWORD) {
        error = path + L": a resource must hold 1 byte to 4 GiB - 1";
        return false;
    }
    mapped.size = static_cast<DWORD>(size.QuadPart);
    mapped.mapping.reset(
        ::CreateFileMappingW(mapped.file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (!mapped.mapping) {
        error = LastError(L"cannot map " + path);
        return false;
    }
    mapped.view.reset(::MapViewOfFile(mapped.mapping.get(), FILE_MAP_READ, 0, 0, 0));
    if (!mapped.view) {
        error = LastError(L"cannot map " + path);
        return false;
    }
    mapped.data = mapped.view.get();
    return true;
}

bool Update(const std::wstring& target, const std::vector<ResourceInput>& resources,
            const std::vector<MappedFile>& mapped, const Room& room, std::wstring& error) {
    HANDLE update = ::BeginUpdateResourceW(target.c_str(), FALSE);
    if (update == nullptr) {
        error = LastError(L"cannot update the resources of " + target);
        return false;
    }
    for (size_t i = 0; i < resources.size(); ++i) {
        if (!::UpdateResourceW(update, RT_RCDATA, resources[i].name.c_str(), kNeutral,
                               const_cast<void*>(mapped[i].data), mapped[i].size)) {
            error = LastError(L"cannot add " + resources[i].name);
            ::EndUpdateResourceW(update, TRUE);
            return false;
        }
    }
    if (!::EndUpdateResourceW(update, FALSE)) {
        error = WriteError(L"cannot write the resources of " + target, room);
        return false;
    }
    return true;
}

// The room for an installer at `outputPath` made of `templatePath` and `mapped`.
Room RoomFor(const std::wstring& templatePath, const std::wstring& outputPath,
             const std::vector<MappedFile>& mapped) {
    WIN32_FILE_ATTRIBUTE_DATA templateData{};
    ::GetFileAttributesExW(templatePath.c_str(), GetFileExInfoStandard, &templateData);
    Room room;
    room.needed = (std::uint64_t{templateData.nFileSizeHigh} << 32) | templateData.nFileSizeLow;
    for (const MappedFile& file : mapped) {
        room.needed += file.size;
    }
    const size_t slash = outputPath.find_last_of(L"\\/");
    room.folder = slash == std::wstring::npos ? L"." : outputPath.substr(0, slash + 1);
    ULARGE_INTEGER free{};
    room.free =
        ::GetDiskFreeSpaceExW(room.folder.c_str(), &free, nullptr, nullptr) ? free.QuadPart : 0;
    return room;
}

// Writes `pieces` in order to a new file at `target`.
bool WritePieces(const std::wstring& target, const std::vector<ByteSpan>& pieces, const Room& room,
                 std::wstring& error) {
    const UniqueHandle file(::CreateFileW(target.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN,
                                          nullptr));
    if (!file) {
        error = WriteError(L"cannot create " + target, room);
        return false;
    }
    constexpr std::uint64_t kMostPerWrite = std::uint64_t{1} << 26;
    for (const ByteSpan& piece : pieces) {
        for (std::uint64_t done = 0; done < piece.size;) {
            const DWORD part = static_cast<DWORD>(std::min(piece.size - done, kMostPerWrite));
            DWORD written = 0;
            if (!::WriteFile(file.get(), piece.data + done, part, &written, nullptr) ||
                written != part) {
                error = WriteError(L"cannot write " + target, room);
                return false;
            }
            done += part;
        }
    }
    return true;
}

// Writes `image` to a new file at `target` without its certificate table.
bool WriteUnsigned(ByteSpan image, const std::wstring& target, const Room& room,
                   std::wstring& error) {
    const auto headers = PeHeaders::Read(image);
    if (!headers) {
        return WritePieces(target, {image}, room, error);  // its update will say what is wrong
    }
    std::vector<unsigned char> head(image.data, image.data + headers->sectionTableEnd);
    headers->ClearCertificateEntry(head.data());
    const std::uint64_t length = headers->LengthWithoutCertificate(image.size);
    return WritePieces(
        target, {{head.data(), head.size()}, {image.data + head.size(), length - head.size()}},
        room, error);
}

// Sets the CheckSum of the PE image at `target` to that of its bytes, in one pass over a
// mapping of the file.
bool SetChecksum(const std::wstring& target, std::wstring& error) {
    const UniqueHandle file(::CreateFileW(target.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    const UniqueHandle mapping(
        file && ::GetFileSizeEx(file.get(), &size)
            ? ::CreateFileMappingW(file.get(), nullptr, PAGE_READWRITE, 0, 0, nullptr)
            : nullptr);
    void* view = mapping ? ::MapViewOfFile(mapping.get(), FILE_MAP_WRITE, 0, 0, 0) : nullptr;
    const UniqueView unmap(view);
    if (view == nullptr) {
        error = LastError(L"cannot map " + target + L" to set its checksum");
        return false;
    }
    auto* bytes = static_cast<unsigned char*>(view);
    const ByteSpan image{bytes, static_cast<std::uint64_t>(size.QuadPart)};
    const auto headers = PeHeaders::Read(image);
    if (!headers) {
        error = target + L" is no PE image after its resources were updated";
        return false;
    }
    PeChecksum checksum(headers->ChecksumOffset());
    checksum.Add(image);
    Put32(bytes + headers->ChecksumOffset(), checksum.Value());
    return true;
}

// Writes the installer at `target`: the template with its resource section
// rebuilt in one sequential pass when its layout allows, otherwise a copy
// without its certificate table changed through the system's resource update
// functions. Either way the installer's CheckSum is that of its bytes.
bool WriteInstaller(ByteSpan image, const std::wstring& target,
                    const std::vector<ResourceInput>& resources,
                    const std::vector<MappedFile>& mapped, const Room& room, std::wstring& error) {
    std::vector<AddedResource> added;
    for (size_t i = 0; i < resources.size(); ++i) {
        added.push_back({std::u16string(resources[i].name.begin(), resources[i].name.end()),
                         {static_cast<const unsigned char*>(mapped[i].data), mapped[i].size}});
    }
    std::string why;
    if (const auto rebuilt = RebuiltImage::Make(image, added, why)) {
        return WritePieces(target, rebuilt->Pieces(), room, error);
    }
    return WriteUnsigned(image, target, room, error) &&
           Update(target, resources, mapped, room, error) && SetChecksum(target, error);
}

// Reads each resource back from `target` as a data file.
bool Compare(const std::wstring& target, const std::vector<ResourceInput>& resources,
             const std::vector<MappedFile>& mapped, std::wstring& error) {
    const UniqueHmodule module(::LoadLibraryExW(
        target.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    if (!module) {
        error = LastError(L"cannot read back " + target);
        return false;
    }
    for (size_t i = 0; i < resources.size(); ++i) {
        HRSRC found =
            ::FindResourceExW(module.get(), RT_RCDATA, resources[i].name.c_str(), kNeutral);
        HGLOBAL loaded = found != nullptr ? ::LoadResource(module.get(), found) : nullptr;
        const void* bytes = loaded != nullptr ? ::LockResource(loaded) : nullptr;
        if (bytes == nullptr || ::SizeofResource(module.get(), found) != mapped[i].size ||
            std::memcmp(bytes, mapped[i].data, mapped[i].size) != 0) {
            error = L"the resource " + resources[i].name + L" read back from " + target +
                    L" differs from what was written";
            return false;
        }
    }
    return true;
}

}  // namespace

bool WriteResources(const std::wstring& templatePath, const std::wstring& outputPath,
                    const std::vector<ResourceInput>& resources,
                    const std::function<bool()>& mayCommit, std::wstring& error,
                    bool* certificateDropped) {
    std::vector<MappedFile> mapped(resources.size());
    for (size_t i = 0; i < resources.size(); ++i) {
        if (!Map(resources[i], mapped[i], error)) {
            return false;
        }
    }
    const Room room = RoomFor(templatePath, outputPath, mapped);
    MappedFile templateFile;
    if (!Map(ResourceInput{{}, templatePath, {}}, templateFile, error)) {
        return false;
    }
    const ByteSpan image{static_cast<const unsigned char*>(templateFile.data), templateFile.size};
    const auto headers = PeHeaders::Read(image);
    const std::wstring temporary = outputPath + L".partial";
    // Removes the temporary file on every way out, exceptions included, unless it was moved
    // into place.
    struct Partial {
        const std::wstring& path;
        bool moved = false;
        ~Partial() {
            if (!moved) {
                ::DeleteFileW(path.c_str());
            }
        }
    } partial{temporary};
    const bool written = WriteInstaller(image, temporary, resources, mapped, room, error) &&
                         Compare(temporary, resources, mapped, error) && mayCommit();
    if (!written) {
        return false;
    }
    if (!::MoveFileExW(temporary.c_str(), outputPath.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        error = LastError(L"cannot move " + temporary + L" to " + outputPath);
        return false;
    }
    partial.moved = true;
    if (certificateDropped != nullptr) {
        *certificateDropped = headers && headers->HasCertificate();
    }
    return true;
}

}  // namespace orvik::tools::pack
