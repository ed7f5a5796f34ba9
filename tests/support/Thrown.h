#pragma once
// The exception a call throws, for tests that check what was raised.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "shared/Exception.h"

namespace orvik::testing {

// The E that `call` threw; nothing, with a test failure recorded, when it
// returned. Anything else it throws goes on to the test, which fails.
template <typename E = orvik::pkgshared::Exception, typename Call>
std::optional<E> Thrown(Call&& call) {
    try {
        call();
    } catch (const E& e) {
        return e;
    }
    ADD_FAILURE() << "nothing was thrown";
    return std::nullopt;
}

// The code of the Exception `call` throws; 0, with a test failure recorded, when none.
template <typename Call>
std::int32_t CodeOf(Call&& call) {
    const auto e = Thrown(call);
    return e ? e->GetErrorCode() : 0;
}

// ExpectedError::line of a raise whose line no contract fixes: any line above 0.
constexpr std::int32_t kAnyLine = -1;

// A raised exception's code, every message argument in order, and the raising
// source file (without extension) and line.
struct ExpectedError {
    std::int32_t code;
    std::vector<std::wstring> arguments;
    std::wstring sourceFile;
    std::int32_t line = kAnyLine;
};

inline void ExpectError(const orvik::pkgshared::Exception& e, const ExpectedError& expected) {
    std::vector<std::wstring> arguments;
    for (size_t i = 0; i < e.GetMessageArgumentCount(); ++i) {
        arguments.push_back(e.GetMessageArgument(i));
    }
    EXPECT_EQ(expected.code, e.GetErrorCode());
    EXPECT_EQ(expected.arguments, arguments) << expected.code;
    EXPECT_EQ(expected.sourceFile, e.GetSourceFile()) << expected.code;
    if (expected.line == kAnyLine) {
        EXPECT_GT(e.GetLineNumber(), 0) << expected.code;
    } else {
        EXPECT_EQ(expected.line, e.GetLineNumber()) << expected.code;
    }
}

template <typename Call>
void ExpectThrows(Call&& call, const ExpectedError& expected) {
    if (const auto e = Thrown(call)) {
        ExpectError(*e, expected);
    }
}

}  // namespace orvik::testing
