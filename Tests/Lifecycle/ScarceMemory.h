#pragma once

#include "Support/FailingAllocations.h"

#include <gtest/gtest.h>

#include <iostream>

namespace LifecycleTests {

using Support::Shortage;

/// Calls `run` with the n-th allocation failing, and with all from the n-th on, for every n until
/// none fails any more. `run` begins the shortage itself, and says whether it reached that.
template <class Run>
void failEveryAllocation(const char* name, Run run,
                         std::initializer_list<Shortage> shortages = {Shortage::passing,
                                                                      Shortage::lasting}) {
  std::size_t failed = 0;
  for (const auto shortage : shortages) {
    std::size_t n = 0;
    while (run(n, shortage) && !testing::Test::HasFailure()) ASSERT_LT(++n, 5'000U) << name;
    ASSERT_FALSE(testing::Test::HasFailure())
        << name << ": allocation " << n
        << (shortage == Shortage::passing ? " alone" : " and all later ones");
    failed += n;
  }
  EXPECT_GT(failed, 0U) << name;
  std::cout << name << ": " << failed << " failures\n";
}

}  // namespace LifecycleTests
