// The archive manager on arbitrary bytes, for each archive type and
// compression (chosen by the first byte). The bytes go to a file in a scratch
// folder and are unpacked below it.
//
// The archive manager sets no secure-path flags: fuzzed entries may name
// absolute paths or climb out with "..". Run this target only in the sandbox
// of tools/test/run-fuzzers.sh (an unprivileged user in a private mount
// namespace with private temporary folders).
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include <boost/filesystem.hpp>

#include "fuzz/FuzzInput.h"
#include "shared/ArchiveManager.h"
#include "shared/Exception.h"
#include "shared/utils/PathUtils.h"
#include "shared/utils/UniqueFile.h"

namespace {

namespace fs = boost::filesystem;
using namespace orvik::pkgshared;

class NoProgress : public NotificationCallbackInterface {
public:
    bool IsCancelRequested() override { return false; }
    void Notify(std::int32_t, std::int32_t) override {}
    void NotifyProgress(std::int32_t, double, const std::wstring&, const std::wstring&) override {}
    bool Query(std::int32_t, std::int32_t, std::int32_t) override { return false; }
};

class QuietReporter : public IPathReporter {
public:
    void Report(ReportMode, const std::wstring&) override {}
};

// A fresh, empty folder for the next input. Archives may leave read-only
// folders behind: they are removed as the product removes its working
// directory, and when even that fails the next input gets a new folder.
const fs::path& Scratch() {
    static const char* base = std::getenv("ORVIK_FUZZ_SCRATCH");
    if (base == nullptr || *base == '\0') {
        // Refuse to run outside the sandbox.
        std::abort();
    }
    static fs::path scratch;
    if (!scratch.empty()) {
        QuietReporter quiet;
        pathutils::DeleteEntirePath(scratch, quiet);
    }
    boost::system::error_code error;
    if (scratch.empty() || fs::exists(scratch, error)) {
        scratch = fs::path(base) / fs::unique_path("archive-%%%%%%%%");
    }
    return scratch;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    orvik::fuzz::FuzzInput input(data, size);
    const std::uint8_t choice = input.Byte();
    const auto archiveType = static_cast<ArchiveType>(choice % 3);
    const auto compression = static_cast<CompressionType>((choice / 3) % 3);
    const std::string bytes = input.Rest();

    const fs::path& scratch = Scratch();
    fs::create_directories(scratch / "out");
    const fs::path source = scratch / "input.bin";
    {
        const UniqueFile file = OpenFile(source.wstring(), "wb");
        if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
            std::abort();
        }
    }
    NoProgress progress;
    try {
        (void)ArchiveManager::ReadEntries(source.wstring(), archiveType, compression);
        ArchiveManager::Unarchive(&progress, source.wstring(), (scratch / "out").wstring(), {},
                                  archiveType, compression, (choice & 0x80) != 0);
    } catch (const Exception&) {
        // Damaged and refused archives are reported by contract.
    }
    return 0;
}
