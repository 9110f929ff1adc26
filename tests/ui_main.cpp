// Widget and GL tests run inside one real QApplication on the test display, with the settings
// folder pointed at a fresh temporary directory so the user's own settings are never touched.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (::testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();  // listing needs no display
  QTemporaryDir data_home;
  qputenv("XDG_DATA_HOME", data_home.path().toUtf8());
  QApplication app(argc, argv);
  return RUN_ALL_TESTS();
}
