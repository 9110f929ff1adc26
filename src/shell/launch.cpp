#include "shell/launch.h"

#include <QGuiApplication>
#include <QScreen>

#include "display/flight_options.h"
#include "display/surface_window.h"
#include "shell/my_lib.h"
#include "shell/startup_window.h"

namespace lumox {

QString ApplyCommandLine(const CommandLine& line) {
  if (!line.screen.isEmpty()) {
    const QList<QScreen*> screens = QGuiApplication::screens();
    QStringList names;
    for (const QScreen* screen : screens) names << screen->name();
    const int index = FindScreen(line.screen, names);
    if (index < 0) return NoSuchScreen(line.screen, names);
    SetFlightScreen(screens[index]);
  }
  SetFpsShown(line.fps);
  return {};
}

void FlyNow(bool windowed) {
  myLib::InitMyLib(QStringLiteral("Lumox"));
  SurfaceWindow* display = SurfaceWindow::Instance();
  display->show();
  if (windowed) display->StartWindowed();
}

void ShowStartWindow(bool on_flight_screen) {
  wStartup* start = wStartup::Instance();
  if (on_flight_screen) {
    start->setScreen(FlightScreen());
    start->PlaceOnScreen();
  }
  start->show();
}

}  // namespace lumox
