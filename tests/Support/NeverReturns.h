// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

/// That `statement` does not end within a second, in a process of its own. For death-test files.
#define EXPECT_NEVER_RETURNS(statement)                                                                      \
    EXPECT_EXIT(                                                                                             \
        {                                                                                                    \
            std::signal(SIGALRM, SIG_DFL);                                                                   \
            alarm(1);                                                                                        \
            statement;                                                                                       \
            _exit(0);                                                                                        \
        },                                                                                                   \
        testing::KilledBySignal(SIGALRM), "")
