// Stands in for the bootstrapper in packing tests: "payload_probe.exe WORKING_DIRECTORY INSTALLER"
// reads the payload resource of INSTALLER (itself, where it is the packed probe) as a data file,
// unpacks it as the bootstrapper does into WORKING_DIRECTORY\payload and exits 0, or exits with
// the error's code (2: INSTALLER cannot be read).
#include <windows.h>

#include "preinstall/PreInstallPayload.h"
#include "shared/utils/WinResources.h"

using namespace orvik::pkgui::preinstall;

int wmain(int argc, wchar_t** argv) {
    const orvik::pkgshared::UniqueHmodule installer(
        argc == 3 ? ::LoadLibraryExW(argv[2], nullptr,
                                     LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE)
                  : nullptr);
    if (!installer) {
        return 2;
    }
    const HRSRC found = ::FindResourceW(installer.get(), L"ORVIKPKG_PAYLOAD", RT_RCDATA);
    const HGLOBAL loaded = found != nullptr ? ::LoadResource(installer.get(), found) : nullptr;
    try {
        if (loaded != nullptr) {
            PreInstallPayload extraction(static_cast<const std::uint8_t*>(::LockResource(loaded)),
                                         ::SizeofResource(installer.get(), found),
                                         orvik::pkgshared::DirectoryPath(argv[1]));
            extraction.Extract(extraction.WriteArchive());
        }
        return 0;
    } catch (const orvik::pkgshared::Exception& e) {
        return e.GetErrorCode();
    }
}
