// archive_unpack SOURCE.tar.gz DESTINATION: unpacks a gzip-compressed tar
// with the archive manager exactly as the bootstrapper unpacks its payload
// (public form, no entry list, not read-only). Exit code 0 when unpacked,
// 1 with the error's code and text on standard error, 2 on a wrong command line.
#include <cstdio>
#include <string>

#include "shared/ArchiveManager.h"
#include "shared/ErrorMessage.h"
#include "shared/Exception.h"
#include "shared/TextConversion.h"

namespace {

// Never cancels, ignores progress: what payload extraction passes.
class Silent : public orvik::pkgshared::NotificationCallbackInterface {
public:
    bool IsCancelRequested() override { return false; }
    void Notify(std::int32_t, std::int32_t) override {}
    void NotifyProgress(std::int32_t, double, const std::wstring&, const std::wstring&) override {}
    bool Query(std::int32_t, std::int32_t, std::int32_t) override { return false; }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: archive_unpack SOURCE.tar.gz DESTINATION\n");
        return 2;
    }
    using namespace orvik::pkgshared;
    Silent callback;
    try {
        ArchiveManager::Unarchive(&callback, Utf8ToWide(argv[1]), Utf8ToWide(argv[2]), {},
                                  kArchiveTar, kCompressionGzip, false);
    } catch (const Exception& e) {
        const std::string text = WideToUtf8(FormatErrorMessage(
            e.GetErrorCode(), 0, e.GetMessageArgument0(), e.GetMessageArgument1(),
            e.GetMessageArgument2(), e.GetMessageArgument3()));
        std::fprintf(stderr, "archive_unpack: %d: %s\n", static_cast<int>(e.GetErrorCode()),
                     text.c_str());
        return 1;
    }
    return 0;
}
