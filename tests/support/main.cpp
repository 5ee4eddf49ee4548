/// Runs the tests of one executable, in a private machine only: they rewrite /var/log and /tmp.
#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/machine.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!GTEST_FLAG_GET(list_tests) && !machine::IsPrivate()) {
    std::fputs("These tests rewrite /var/log and /tmp and run in a private machine only: use ctest.\n", stderr);
    return 2;
  }
  return RUN_ALL_TESTS();
}
