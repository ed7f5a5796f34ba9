// Stands in for the bootstrapper in packing tests: "payload_probe.exe WORKING_DIRECTORY" reads its
// payload resource as the bootstrapper does, unpacks it into WORKING_DIRECTORY\payload and exits
// 0, or exits with the error's code.
#include "preinstall/NamedDataResource.h"
#include "preinstall/PreInstallPayload.h"

using namespace orvik::pkgui::preinstall;

int wmain(int argc, wchar_t** argv) {
    try {
        const NamedDataResource payload(L"ORVIKPKG_PAYLOAD");
        if (argc == 2 && payload.Exists()) {
            PreInstallPayload extraction(payload.GetData(), payload.GetSize(),
                                         orvik::pkgshared::DirectoryPath(argv[1]));
            extraction.Extract(extraction.WriteArchive());
        }
        return 0;
    } catch (const orvik::pkgshared::Exception& e) {
        return e.GetErrorCode();
    }
}
