#include "shared/ErrorCatalog.h"

#include "shared/TextConversion.h"
#include "shared/UiLanguage.h"

namespace orvik::pkgshared {

CatalogLanguage CatalogLanguageFor(std::uint16_t languageId) {
    switch (languageId) {
        case 1036:
            return CatalogLanguage::French;
        case 1031:
            return CatalogLanguage::German;
        case 1041:
            return CatalogLanguage::Japanese;
        case 1042:
            return CatalogLanguage::Korean;
        case 2052:
            return CatalogLanguage::SimplifiedChinese;
        default:
            return CatalogLanguage::English;
    }
}

std::wstring GetCatalogText(std::int32_t code, std::uint16_t languageId) {
    if (languageId == 0) {
        languageId = CurrentUiLanguage();
    }
    const int column = static_cast<int>(CatalogLanguageFor(languageId));
    for (const CatalogRecord* record = kErrorCatalog; record->texts[column] != nullptr; ++record) {
        if (record->code == code) {
            if (record->texts[column][0] != L'\0') {
                return record->texts[column];
            }
            break;
        }
    }
    return L"Error: " + ToDecimal(code);
}

}  // namespace orvik::pkgshared
