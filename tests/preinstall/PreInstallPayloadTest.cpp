#include <gtest/gtest.h>

#include <windows.h>

#include "preinstall/NamedDataResource.h"
#include "preinstall/PreInstallPayload.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::DirectoryPath;
using orvik::testing::ExpectThrows;

TEST(PreInstallPayloadTest, SavesTheBytesAndRefusesNoBytesOrAnExistingArchive) {
    const orvik::testing::ScratchDirectory scratch;
    const auto payload = [&](const char* bytes, std::uint32_t size) {
        return PreInstallPayload(reinterpret_cast<const std::uint8_t*>(bytes), size,
                                 DirectoryPath(scratch.Path()));
    };
    const std::wstring source = L"source\\preinstall\\PreInstallPayload";
    ExpectThrows([&] { payload(nullptr, 10).WriteArchive(); }, {-126316, {}, source, 68});
    ExpectThrows([&] { payload("bytes", 0).WriteArchive(); }, {-126316, {}, source, 68});
    const auto archive = scratch / L"payload.tar.gz";
    EXPECT_EQ(archive, payload("bytes", 5).WriteArchive().Path());
    ExpectThrows([&] { payload("newer", 5).WriteArchive(); },
                 {-126317, {L"80", archive.wstring()}, source, 97});
    EXPECT_EQ("bytes", orvik::testing::ReadBytes(archive));
}

// The test program carries "ORVIKPKG_TEST_DATA" ("0123456789") and an empty
// "ORVIKPKG_TEST_EMPTY" as RT_RCDATA resources.
TEST(NamedDataResourceTest, MissingIsAbsentPresentIsReadEmptyIsAnError) {
    EXPECT_FALSE(NamedDataResource(L"ORVIKPKG_PAYLOAD").Exists());
    const NamedDataResource present(L"ORVIKPKG_TEST_DATA");
    EXPECT_EQ("0123456789",
              std::string(reinterpret_cast<const char*>(present.GetData()), present.GetSize()));
    const auto empty = [] {
        ::SetLastError(0x80070057);
        NamedDataResource(L"ORVIKPKG_TEST_EMPTY");
    };
    ExpectThrows(empty, {-126315,
                         {L"2147942487", L"ORVIKPKG_TEST_EMPTY"},
                         L"source\\preinstall\\NamedDataResource",
                         72});
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
