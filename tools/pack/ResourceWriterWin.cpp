#include <windows.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "ErrorText.h"
#include "LittleEndian.h"
#include "PeChecksum.h"
#include "PeHeaders.h"
#include "ResourceWriterSystem.h"
#include "shared/utils/WinResources.h"

namespace orvik::tools::pack {
namespace {

using orvik::pkgshared::UniqueHandle;
using orvik::pkgshared::UniqueHmodule;

const WORD kNeutral = MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL);

std::wstring LastError(const std::wstring& what) {
    return what + L": " + SystemErrorText(::GetLastError());
}

std::wstring NameOf(const AddedResource& resource) {
    return std::wstring(resource.name.begin(), resource.name.end());
}

struct ViewUnmapper {
    void operator()(const void* view) const { ::UnmapViewOfFile(view); }
};
using UniqueView = std::unique_ptr<const void, ViewUnmapper>;

bool Update(const std::wstring& target, const std::vector<AddedResource>& added,
            const std::wstring& roomNote, std::wstring& error) {
    HANDLE update = ::BeginUpdateResourceW(target.c_str(), FALSE);
    if (update == nullptr) {
        error = LastError(L"cannot update the resources of " + target);
        return false;
    }
    for (const AddedResource& resource : added) {
        if (!::UpdateResourceW(update, RT_RCDATA, NameOf(resource).c_str(), kNeutral,
                               const_cast<unsigned char*>(resource.bytes.data),
                               static_cast<DWORD>(resource.bytes.size))) {
            error = LastError(L"cannot add " + NameOf(resource));
            ::EndUpdateResourceW(update, TRUE);
            return false;
        }
    }
    if (!::EndUpdateResourceW(update, FALSE)) {
        const DWORD code = ::GetLastError();
        error = L"cannot write the resources of " + target + L": " + SystemErrorText(code);
        if (MayBeDiskFull(code)) {
            error += roomNote + L": " + kFreeSpaceAdvice;
        }
        return false;
    }
    return true;
}

// Writes `image` to a new file at `target` without its certificate table.
bool WriteUnsigned(ByteSpan image, const std::wstring& target, const std::wstring& roomNote,
                   std::wstring& error) {
    const auto headers = PeHeaders::Read(image);
    if (!headers) {
        return WritePieces(target, {image}, roomNote, error);  // its update will say what is wrong
    }
    std::vector<unsigned char> head(image.data, image.data + headers->sectionTableEnd);
    headers->ClearCertificateEntry(head.data());
    const std::uint64_t length = headers->LengthWithoutCertificate(image.size);
    return WritePieces(
        target, {{head.data(), head.size()}, {image.data + head.size(), length - head.size()}},
        roomNote, error);
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

}  // namespace

bool WriteThroughSystem(const std::wstring&, ByteSpan image, const std::wstring& target,
                        const std::vector<AddedResource>& added, const std::string&,
                        const std::wstring& roomNote, std::wstring& error) {
    return WriteUnsigned(image, target, roomNote, error) &&
           Update(target, added, roomNote, error) && SetChecksum(target, error);
}

bool ReadBackResources(const std::wstring& target, const std::vector<AddedResource>& added,
                       std::wstring& error) {
    const UniqueHmodule module(::LoadLibraryExW(
        target.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    if (!module) {
        error = LastError(L"cannot read back " + target);
        return false;
    }
    for (const AddedResource& resource : added) {
        HRSRC found =
            ::FindResourceExW(module.get(), RT_RCDATA, NameOf(resource).c_str(), kNeutral);
        HGLOBAL loaded = found != nullptr ? ::LoadResource(module.get(), found) : nullptr;
        const void* bytes = loaded != nullptr ? ::LockResource(loaded) : nullptr;
        if (bytes == nullptr || ::SizeofResource(module.get(), found) != resource.bytes.size ||
            std::memcmp(bytes, resource.bytes.data, resource.bytes.size) != 0) {
            error = L"the resource " + NameOf(resource) + L" read back from " + target +
                    L" differs from what was written";
            return false;
        }
    }
    return true;
}

}  // namespace orvik::tools::pack
