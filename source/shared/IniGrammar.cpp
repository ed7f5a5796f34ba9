#include "shared/IniGrammar.h"

namespace orvik::pkgshared::ini {
namespace {

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view TrimLeft(std::string_view text) {
    while (!text.empty() && IsSpace(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

std::string_view TrimRight(std::string_view text) {
    while (!text.empty() && IsSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

char LowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

ParsedLine Unrecognised() {
    return ParsedLine{LineKind::Unrecognised, {}, {}, {}};
}

ParsedLine ParseSection(std::string_view rest) {
    rest = TrimLeft(rest.substr(1));
    const size_t close = rest.find(']');
    if (close == std::string_view::npos) {
        return Unrecognised();
    }
    const std::string_view name = TrimRight(rest.substr(0, close));
    if (name.empty()) {
        return Unrecognised();
    }
    return ParsedLine{LineKind::Section, std::string(name), {}, {}};
}

ParsedLine ParseKeyValue(std::string_view rest, unsigned readOptions) {
    const bool colon = (readOptions & kColonSeparator) != 0;
    const size_t separator = rest.find_first_of(colon ? ":=" : "=");
    if (separator == std::string_view::npos) {
        return Unrecognised();
    }
    const std::string_view key = TrimRight(rest.substr(0, separator));
    size_t valueStart = separator + 1;
    if (colon && rest[separator] == ':' && valueStart < rest.size() && rest[valueStart] == '=') {
        ++valueStart;  // ":=" is one separator
    }
    const std::string_view value = Trim(rest.substr(valueStart));
    if (key.empty() || (value.empty() && (readOptions & kKeepEmptyValues) == 0)) {
        return Unrecognised();
    }
    return ParsedLine{LineKind::KeyValue, {}, std::string(key), std::string(value)};
}

}  // namespace

std::string_view Trim(std::string_view text) {
    return TrimRight(TrimLeft(text));
}

ParsedLine ParseLine(std::string_view line, unsigned readOptions) {
    const std::string_view rest = TrimLeft(line);
    if (rest.empty()) {
        return ParsedLine{};
    }
    if (rest.front() == ';') {
        return ParsedLine{LineKind::Comment, {}, {}, {}};
    }
    if (rest.front() == '[') {
        return ParseSection(rest);
    }
    return ParseKeyValue(rest, readOptions);
}

bool SectionNamesMatch(std::string_view a, std::string_view b, bool caseSensitive) {
    if (caseSensitive) {
        return a == b;
    }
    a = Trim(a);
    b = Trim(b);
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace orvik::pkgshared::ini
