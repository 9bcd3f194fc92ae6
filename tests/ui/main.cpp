#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "ui/application.h"

int main(int argc, char** argv) {
  (void)setenv("QT_QPA_PLATFORM", "offscreen", 0);
  (void)setenv("XDG_RUNTIME_DIR", "/tmp", 0);
  const vellandra::Application application(argc, argv);
  (void)std::setlocale(LC_NUMERIC, "C");
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
