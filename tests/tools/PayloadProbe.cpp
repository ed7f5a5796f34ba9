// Stands in for the bootstrapper in packing tests: "payload_probe.exe WORKING_DIRECTORY" reads its
// own resources as the bootstrapper does, writes "online.txt" (URI and title) for an
// online-install description, unpacks the payload into WORKING_DIRECTORY\payload and exits 0, or
// exits with the error's code.
#include <cstdio>
#include "preinstall/NamedDataResource.h"
#include "preinstall/OnlineInstallInformation.h"
#include "preinstall/PreInstallPayload.h"
#include "shared/TextConversion.h"

using namespace orvik::pkgui::preinstall;

int wmain(int argc, wchar_t** argv) {
    try {
        const orvik::pkgshared::DirectoryPath working(argc == 2 ? argv[1] : L"?");
        OnlineInstallInformation online;
        online.Load(NamedDataResource(L"ORVIKPKG_ONLINE_INSTALL"));
        std::FILE* out =
            online.present ? _wfopen((working.Path() / L"online.txt").c_str(), L"wb") : nullptr;
        if (out != nullptr) {
            std::fputs(
                orvik::pkgshared::WideToUtf8(online.downloadItemUri + L"\n" + online.progressTitle)
                    .c_str(),
                out);
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
