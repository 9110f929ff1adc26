#include <QApplication>

#include "display/surface_window.h"
#include "shell/app.h"
#include "shell/idle_inhibitor.h"
#include "shell/startup_window.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  lumox::MainMenuBar::Instance();
  lumox::QuitOnSignals();
  lumox::IdleInhibitor keep_awake;  // the screen stays awake while the flight is shown
  // However the loop ends, the display's closing step runs (it runs once at most).
  QObject::connect(&app, &QApplication::aboutToQuit, [] {
    if (auto* display = lumox::SurfaceWindow::Existing()) display->Event_Close();
  });
  lumox::wStartup::Instance()->show();
  return app.exec();
}
