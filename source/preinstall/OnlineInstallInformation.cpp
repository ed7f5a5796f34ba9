#include "preinstall/OnlineInstallInformation.h"

#include <pugixml.hpp>

#include "shared/Raise.h"
#include "shared/TextConversion.h"
#include "shared/Version.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::Utf8ToWide;

constexpr std::int32_t kLoadErrorCode = -126312;
constexpr std::int32_t kLoadErrorLine = 88;
constexpr std::int32_t kSchemaErrorCode = -126313;
constexpr std::int32_t kSchemaErrorLine = 96;
constexpr std::int32_t kMissingElementCode = -126314;
constexpr std::int32_t kMissingElementLine = 105;

constexpr char kRoot[] = "orvikpkgOnlineInstall";

pugi::xml_node Child(const pugi::xml_node& parent, const char* name) {
    pugi::xml_node child = parent.child(name);
    if (!child) {
        ORVIK_THROW_AT(kMissingElementLine, PreInstallOnlineInstallInformationMissingElement,
                       Utf8ToWide(parent.name()), Utf8ToWide(name));
    }
    return child;
}

std::wstring Attribute(const pugi::xml_node& node, const char* name) {
    return Utf8ToWide(node.attribute(name).value());
}

}  // namespace

void OnlineInstallInformation::Load(const DataResource& resource) {
    *this = OnlineInstallInformation();
    present = resource.Exists();
    if (!present) {
        return;
    }
    pugi::xml_document document;
    const pugi::xml_parse_result parsed = document.load_buffer(
        resource.GetData(), resource.GetSize(), pugi::parse_default, pugi::encoding_auto);
    if (!parsed) {
        ORVIK_THROW_AT(kLoadErrorLine, PreInstallOnlineInstallInformationLoadError,
                       static_cast<int>(parsed.status), Utf8ToWide(parsed.description()));
    }
    const pugi::xml_node root = Child(document, kRoot);
    const orvik::pkgshared::Version schema(Attribute(root, "schemaVersion"));
    if (schema.ToString().empty() ||
        orvik::pkgshared::Version(kMaxSchemaVersion).Compare(schema) < 0) {
        ORVIK_THROW_AT(kSchemaErrorLine, PreInstallOnlineInstallInformationSchemaError,
                       schema.ToString(), kMaxSchemaVersion);
    }
    const pugi::xml_node downloadItem = Child(root, "downloadItem");
    downloadItemId = Attribute(downloadItem, "id");
    downloadItemUri = Attribute(downloadItem, "uri");
    progressTitle = Attribute(Child(root, "progressTitle"), "value");
}

PreInstallOnlineInstallInformationLoadError::PreInstallOnlineInstallInformationLoadError(
    int status, const std::wstring& description, const wchar_t* sourceFile, std::int32_t line)
    : Exception(kLoadErrorCode, std::to_wstring(status), description, sourceFile, line) {}
PreInstallOnlineInstallInformationLoadError::~PreInstallOnlineInstallInformationLoadError() =
    default;

PreInstallOnlineInstallInformationSchemaError::PreInstallOnlineInstallInformationSchemaError(
    const std::wstring& version, const std::wstring& maximum, const wchar_t* sourceFile,
    std::int32_t line)
    : Exception(kSchemaErrorCode, version, maximum, sourceFile, line) {}
PreInstallOnlineInstallInformationSchemaError::~PreInstallOnlineInstallInformationSchemaError() =
    default;

PreInstallOnlineInstallInformationMissingElement::PreInstallOnlineInstallInformationMissingElement(
    const std::wstring& searched, const std::wstring& missing, const wchar_t* sourceFile,
    std::int32_t line)
    : Exception(kMissingElementCode, searched, missing, sourceFile, line) {}
PreInstallOnlineInstallInformationMissingElement::
    ~PreInstallOnlineInstallInformationMissingElement() = default;

}  // namespace orvik::pkgui::preinstall
