#pragma once
// The message catalog: one constant table of records, code -> six texts,
// in falling code order and ended by a record whose fields are all zero.
// The table is generated at build time from ErrorCatalog.tsv.
#include <cstdint>
#include <string>

namespace orvik::pkgshared {

enum class CatalogLanguage : int {
    English = 0,
    French = 1,
    German = 2,
    Japanese = 3,
    Korean = 4,
    SimplifiedChinese = 5,
};
constexpr int kCatalogLanguageCount = 6;

struct CatalogRecord {
    std::int32_t code;
    const wchar_t* texts[kCatalogLanguageCount];  // in CatalogLanguage order
};

// The table, its terminating zero record included.
extern const CatalogRecord kErrorCatalog[];
// Number of records before the terminating one.
extern const size_t kErrorCatalogSize;

// Column for a full language identifier (primary and sub-language together):
// 1033, 1036, 1031, 1041, 1042 and 2052 have their own columns; every other
// identifier, regional variants included, gives English.
CatalogLanguage CatalogLanguageFor(std::uint16_t languageId);

// The raw text of `code` in the column chosen from `languageId` (0: the
// calling thread's user-interface language). A code without a text yields
// "Error: <code>". Never fails.
std::wstring GetCatalogText(std::int32_t code, std::uint16_t languageId);

}  // namespace orvik::pkgshared
