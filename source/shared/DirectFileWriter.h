#pragma once
// DirectFileWriter: writes the plain files of an archive being unpacked
// straight to disk, with fewer calls than the library's general disk writer
// (no check of each parent folder, no positioned writes), and with the same
// result: the file created new, its data, its times set as that writer sets
// them (access and creation time the writer's start unless the entry carries
// them, modification time the entry's), missing parent folders created. What
// it does not do exactly as that writer would (links, special files, sparse
// or read-only files, file flags, ACLs, names that are not plain relative
// ones or that EntryNameRules flags, a name that exists), it declines, and
// the caller hands the entry to the library.
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

struct archive_entry;

namespace orvik::pkgshared {

class DirectFileWriter {
public:
    // `startTime`: the library writer's start, in seconds since 1970.
    explicit DirectFileWriter(std::time_t startTime);
    ~DirectFileWriter();
    DirectFileWriter(const DirectFileWriter&) = delete;
    DirectFileWriter& operator=(const DirectFileWriter&) = delete;

    // Whether Create may take any entry (true unless switched off, so that a
    // test can compare its output with the library's); returns the previous
    // setting.
    static bool SetEnabledForTesting(bool enable);

    // Creates the file of `entry` (named `name` in the archive, "./" and all;
    // its pathname is already the target path). False when declined: nothing
    // was created but missing parent folders.
    bool Create(archive_entry* entry, const std::wstring& name);
    // A failure as the library's writer reports it: its C runtime error
    // number and text; errnum 0 when there was none.
    struct Failure {
        int errnum = 0;
        const wchar_t* text = L"";
        explicit operator bool() const { return errnum != 0; }
    };
    // Writes the next block of the file created last.
    Failure Write(const void* data, std::size_t size, std::int64_t offset);
    // Gives the file created last the entry's size (when it has one), sets its
    // times and closes it.
    Failure Finish();

    class Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace orvik::pkgshared
