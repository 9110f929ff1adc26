// Widget and GL tests run inside one real QApplication on the test display, with the settings
// folder pointed at a temporary directory so the user's own settings are never touched. Each
// test starts as a fresh run would: no window, no pointer override, an empty data folder.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include "display/surface_window.h"
#include "settings/prefs_window.h"
#include "shell/about_window.h"
#include "shell/launch.h"
#include "shell/startup_window.h"

namespace {

class FreshRun : public ::testing::EmptyTestEventListener {
 public:
  explicit FreshRun(QString data) : data_(std::move(data)) {}

 private:
  void OnTestEnd(const ::testing::TestInfo&) override {
    delete lumox::wAbout::Existing();
    delete lumox::wStartup::Existing();
    delete lumox::SurfaceWindow::Existing();  // the settings window with it
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    while (QGuiApplication::overrideCursor()) QGuiApplication::restoreOverrideCursor();
    QDir(data_).removeRecursively();
    QDir().mkpath(data_);
  }
  QString data_;
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (::testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();  // listing needs no display
  QTemporaryDir data_home;
  qputenv("XDG_DATA_HOME", data_home.path().toUtf8());
  QApplication app(argc, argv);
  lumox::WireDisplay();
  ::testing::UnitTest::GetInstance()->listeners().Append(new FreshRun(data_home.path()));
  return RUN_ALL_TESTS();
}
