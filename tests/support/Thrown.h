#pragma once
// The exception a call throws, for tests that check what was raised.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "shared/Exception.h"

namespace orvik::testing {

// Runs `call` and returns the E it threw. Returns nothing, and records a test
// failure, when the call returned or threw something that is not an E.
template <typename E = orvik::pkgshared::Exception, typename Call>
std::optional<E> Thrown(Call&& call) {
    try {
        call();
    } catch (const E& e) {
        return e;
    } catch (const std::exception& e) {
        ADD_FAILURE() << "threw another type: " << e.what();
        return std::nullopt;
    } catch (...) {
        ADD_FAILURE() << "threw a non-exception";
        return std::nullopt;
    }
    ADD_FAILURE() << "nothing was thrown";
    return std::nullopt;
}

// What a raised exception must hold: its code, every message argument in
// order, and the raising source file (without extension) and line.
struct ExpectedError {
    std::int32_t code;
    std::vector<std::wstring> arguments;
    std::wstring sourceFile;
    std::int32_t line;
};

// Records a failure for each field of `e` that differs from `expected`.
inline void ExpectError(const orvik::pkgshared::Exception& e, const ExpectedError& expected) {
    EXPECT_EQ(expected.code, e.GetErrorCode());
    std::vector<std::wstring> arguments;
    for (size_t i = 0; i < e.GetMessageArgumentCount(); ++i) {
        arguments.push_back(e.GetMessageArgument(i));
    }
    EXPECT_EQ(expected.arguments, arguments) << "code " << expected.code;
    EXPECT_EQ(expected.sourceFile, e.GetSourceFile()) << "code " << expected.code;
    EXPECT_EQ(expected.line, e.GetLineNumber()) << "code " << expected.code;
}

// Runs `call` and checks the Exception it throws against `expected`.
template <typename Call>
void ExpectThrows(Call&& call, const ExpectedError& expected) {
    if (const auto e = Thrown(call)) {
        ExpectError(*e, expected);
    }
}

}  // namespace orvik::testing
