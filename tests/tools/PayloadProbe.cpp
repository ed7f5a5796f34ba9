// Stands in for the bootstrapper in packing tests. Usage: payload_probe.exe WORKING_DIRECTORY
// Reads its own resources as the bootstrapper does: writes "online.txt" (URI and title, UTF-8)
// for an online-install description, unpacks the payload into WORKING_DIRECTORY\payload and
// exits 0, or exits with the error's code.
#include <cstdio>
#include <string>

#include "preinstall/NamedDataResource.h"
#include "preinstall/OnlineInstallInformation.h"
#include "preinstall/PreInstallPayload.h"
#include "shared/TextConversion.h"

using namespace orvik::pkgui::preinstall;

int wmain(int argc, wchar_t** argv) {
    if (argc != 2) {
        return 2;
    }
    const orvik::pkgshared::DirectoryPath working(argv[1]);
    try {
        OnlineInstallInformation information;
        information.Load(NamedDataResource(L"ORVIKPKG_ONLINE_INSTALL"));
        std::FILE* out = information.present
                             ? _wfopen((working.Path() / L"online.txt").c_str(), L"wb")
                             : nullptr;
        if (out != nullptr) {
            std::fprintf(out, "%s",
                         orvik::pkgshared::WideToUtf8(information.downloadItemUri + L"\n" +
                                                      information.progressTitle)
                             .c_str());
            std::fclose(out);
        }
        const NamedDataResource payload(L"ORVIKPKG_PAYLOAD");
        if (payload.Exists()) {
            PreInstallPayload extraction(payload.GetData(), payload.GetSize(), working);
            extraction.Extract(extraction.WriteArchive());
        }
        return 0;
    } catch (const orvik::pkgshared::Exception& e) {
        return e.GetErrorCode();
    }
}
