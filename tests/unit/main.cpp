#include <gtest/gtest.h>

int main(int argc, char** argv) {
  // Under qemu-arm a death test cannot re-execute the test binary; a plain fork works.
  GTEST_FLAG_SET(death_test_style, "fast");
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
