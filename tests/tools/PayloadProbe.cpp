// Stands in for the bootstrapper in packing tests: "payload_probe.exe WORKING_DIRECTORY
// [INSTALLER]" reads the payload resource of INSTALLER (by default its own) as the bootstrapper
// does, unpacks it into WORKING_DIRECTORY\payload and exits 0, or exits with the error's code.
#include <windows.h>

#include "preinstall/NamedDataResource.h"
#include "preinstall/PreInstallPayload.h"
#include "shared/utils/WinResources.h"

using namespace orvik::pkgui::preinstall;

namespace {

// The payload resource of the image `module`; absent when it has none.
MemoryDataResource PayloadOf(HMODULE module) {
    const HRSRC found = ::FindResourceW(module, L"ORVIKPKG_PAYLOAD", RT_RCDATA);
    const HGLOBAL loaded = found != nullptr ? ::LoadResource(module, found) : nullptr;
    return loaded == nullptr
               ? MemoryDataResource()
               : MemoryDataResource(::LockResource(loaded), ::SizeofResource(module, found));
}

void Unpack(const DataResource& payload, const wchar_t* folder) {
    if (payload.Exists()) {
        PreInstallPayload extraction(payload.GetData(), payload.GetSize(),
                                     orvik::pkgshared::DirectoryPath(folder));
        extraction.Extract(extraction.WriteArchive());
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    try {
        if (argc == 2) {
            Unpack(NamedDataResource(L"ORVIKPKG_PAYLOAD"), argv[1]);
        } else if (argc == 3) {
            const orvik::pkgshared::UniqueHmodule installer(::LoadLibraryExW(
                argv[2], nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
            if (!installer) {
                return 2;
            }
            Unpack(PayloadOf(installer.get()), argv[1]);
        }
        return 0;
    } catch (const orvik::pkgshared::Exception& e) {
        return e.GetErrorCode();
    }
}
