#pragma once
// The line grammar of the configuration store's ini files. Pure text
// handling: no Windows headers, no file access.
#include <string>
#include <string_view>

namespace orvik::pkgshared::ini {

// Read options of a store.
enum ReadOption : unsigned {
    kKeepEmptyValues = 0x1,  // "key =" is an entry with an empty value
    kColonSeparator = 0x8,   // ':' separates too; ":=" counts as one separator
};

enum class LineKind {
    Blank,         // nothing but white space
    Comment,       // first visible character ';'
    Section,       // "[name]"
    KeyValue,      // "key=value"
    Unrecognised,  // kept as it is, never interpreted
};

struct ParsedLine {
    LineKind kind = LineKind::Blank;
    std::string name;   // Section
    std::string key;    // KeyValue
    std::string value;  // KeyValue
};

// Classifies one line (without its line end) after skipping leading white
// space. A section name is trimmed on both sides and must be non-empty and
// closed by ']'. A key runs to the first separator and is trimmed; the value
// is trimmed. An empty key, a missing separator, or (without
// kKeepEmptyValues) an empty value make the line unrecognised.
ParsedLine ParseLine(std::string_view line, unsigned readOptions);

// Section names match ignoring surrounding white space and ASCII case, or
// byte for byte when `caseSensitive`.
bool SectionNamesMatch(std::string_view a, std::string_view b, bool caseSensitive);

// `text` without leading and trailing blanks, tabs and line-end characters.
std::string_view Trim(std::string_view text);

}  // namespace orvik::pkgshared::ini
