#include <gtest/gtest.h>

#include <QApplication>
#include <clocale>
#include <cstdlib>

int main(int argc, char** argv) {
  (void)setenv("QT_QPA_PLATFORM", "offscreen", 0);
  (void)setenv("XDG_RUNTIME_DIR", "/tmp", 0);
  const QApplication application(argc, argv);
  (void)std::setlocale(LC_NUMERIC, "C");
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
