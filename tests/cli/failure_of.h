#pragma once

/// \file
/// What a call refuses with.

#include "exit_codes.h"
#include <gtest/gtest.h>
#include <string>

namespace velmont::test {

/// The line of the Failure that a call throws, whose code has to be `code`.
template <typename Call>
std::string failureOf(cli::ExitCode code, const Call &call)
{
    try {
        call();
    } catch (const cli::Failure &failure) {
        EXPECT_EQ(failure.code(), code);
        return failure.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

} // namespace velmont::test
