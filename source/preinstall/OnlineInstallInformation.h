#pragma once
// OnlineInstallInformation: what an online installer downloads and the title
// it shows, read from the XML of its "ORVIKPKG_ONLINE_INSTALL" resource.
#include <string>

#include "preinstall/DataResource.h"
#include "shared/Exception.h"

namespace orvik::pkgui::preinstall {

struct OnlineInstallInformation {
    // The highest schema version this program reads.
    static constexpr wchar_t kMaxSchemaVersion[] = L"26.5.0.49297";

    bool present = false;
    std::wstring downloadItemId;
    std::wstring downloadItemUri;
    std::wstring progressTitle;

    // Fills the record from `resource`; an absent resource leaves it empty
    // with `present` false. Throws PreInstallOnlineInstallInformationLoadError
    // (not well-formed), PreInstallOnlineInstallInformationSchemaError
    // (schemaVersion absent, empty or newer than kMaxSchemaVersion) and
    // PreInstallOnlineInstallInformationMissingElement.
    void Load(const DataResource& resource);
};

// %1% the parser's status number, %2% its description.
class PreInstallOnlineInstallInformationLoadError : public orvik::pkgshared::Exception {
public:
    PreInstallOnlineInstallInformationLoadError(int status, const std::wstring& description,
                                                const wchar_t* sourceFile, std::int32_t line);
    PreInstallOnlineInstallInformationLoadError(
        const PreInstallOnlineInstallInformationLoadError&) = default;
    ~PreInstallOnlineInstallInformationLoadError() override;
};

// %1% the version read, %2% the highest accepted version.
class PreInstallOnlineInstallInformationSchemaError : public orvik::pkgshared::Exception {
public:
    PreInstallOnlineInstallInformationSchemaError(const std::wstring& version,
                                                  const std::wstring& maximum,
                                                  const wchar_t* sourceFile, std::int32_t line);
    PreInstallOnlineInstallInformationSchemaError(
        const PreInstallOnlineInstallInformationSchemaError&) = default;
    ~PreInstallOnlineInstallInformationSchemaError() override;
};

// %1% the node that was searched (empty for the document), %2% the missing
// element: deliberately the reverse of the message's wording.
class PreInstallOnlineInstallInformationMissingElement : public orvik::pkgshared::Exception {
public:
    PreInstallOnlineInstallInformationMissingElement(const std::wstring& searched,
                                                     const std::wstring& missing,
                                                     const wchar_t* sourceFile, std::int32_t line);
    PreInstallOnlineInstallInformationMissingElement(
        const PreInstallOnlineInstallInformationMissingElement&) = default;
    ~PreInstallOnlineInstallInformationMissingElement() override;
};

}  // namespace orvik::pkgui::preinstall
