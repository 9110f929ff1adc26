// One real QApplication on the test display, the data folder temporary, each test started as a fresh run.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include "display/surface_window.h"
#include "shell/about_window.h"
#include "shell/launch.h"
#include "shell/startup_window.h"

namespace lumox {
namespace {

struct FreshRun : ::testing::EmptyTestEventListener {
  explicit FreshRun(QString data) : data_(std::move(data)) {}
  void OnTestEnd(const ::testing::TestInfo&) override {
    delete wAbout::Existing();
    delete wStartup::Existing();
    delete SurfaceWindow::Existing();  // the settings window with it
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    while (QGuiApplication::overrideCursor()) QGuiApplication::restoreOverrideCursor();
    QDir(data_).removeRecursively();
    QDir().mkpath(data_);
  }
  QString data_;
};

}  // namespace
}  // namespace lumox

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (::testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();  // listing needs no display
  QTemporaryDir data_home;
  qputenv("XDG_DATA_HOME", data_home.path().toUtf8());
  QApplication app(argc, argv);
  lumox::WireDisplay();
  ::testing::UnitTest::GetInstance()->listeners().Append(new lumox::FreshRun(data_home.path()));
  return RUN_ALL_TESTS();
}
