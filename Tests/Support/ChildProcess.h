#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

/// Runs statements in a fresh process, where nothing has been made yet of what is made once only,
/// and passes on whether any expectation failed there.
#define EXPECT_PASSES_IN_A_CHILD(...)                                           \
  do {                                                                          \
    GTEST_FLAG_SET(death_test_style, "threadsafe");                             \
    EXPECT_EXIT(                                                                \
        {                                                                       \
          {                                                                     \
            __VA_ARGS__;                                                        \
          }                                                                     \
          std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS); \
        },                                                                      \
        testing::ExitedWithCode(EXIT_SUCCESS), "");                             \
  } while (false)
