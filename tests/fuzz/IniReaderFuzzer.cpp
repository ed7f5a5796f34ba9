// The ini reader with every read-option combination (the first byte chooses
// them) over the remaining bytes, then the queries and a write-back.
#include <cstdint>

#include "fuzz/FuzzInput.h"
#include "shared/ConfigStore.h"
#include "shared/IniGrammar.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    using orvik::pkgshared::ConfigStore;
    namespace ini = orvik::pkgshared::ini;
    orvik::fuzz::FuzzInput input(data, size);
    const std::uint8_t choice = input.Byte();
    ConfigStore::Options options;
    options.read =
        ((choice & 1) ? ini::kKeepEmptyValues : 0u) | ((choice & 2) ? ini::kColonSeparator : 0u);
    options.caseSensitiveNames = (choice & 4) != 0;
    options.maxLineLength = (choice & 8) ? 16 : 0;
    options.splitCharacter = (choice & 16) ? ',' : '\0';
    ConfigStore store(options);
    store.LoadText(input.Rest());
    for (const std::string& key : store.Keys("Settings")) {
        (void)store.GetValue("Settings", key);
    }
    (void)store.GetValue("", "");
    (void)store.SetValue("Settings", "key", "value");
    std::string written;
    store.WriteTo([&written](const std::string& line) {
        written += line;
        written += "\r\n";
        return 0;
    });
    return 0;
}
