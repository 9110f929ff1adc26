#include "shell/launch.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <cstdio>

#include "desktop/wayland/wayland_backend.h"
#include "desktop/x11/x11_backend.h"

#include "flight/flight_options.h"
#include "display/surface_window.h"
#include "settings/prefs_store.h"
#include "settings/prefs_window.h"
#include "settings/setting_options.h"
#include "shell/about_window.h"
#include "shell/app.h"
#include "shell/display_check.h"
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

void WireDisplay() {
  DisplayWiring wiring;
  wiring.load_settings = [](Settings& settings) { return LoadPrefsFile(settings) == PrefsFileState::Absent; };
  wiring.save_settings = [](const Settings& settings) { SavePrefsFile(settings); };
  wiring.prefs_window = [] { return wPrefs::Instance(); };
  wiring.about_window = [] { return wAbout::Instance(); };
  wiring.attach_menu = [](QMainWindow* display) {
    MainMenuBar::Instance().AttachTo(display);
    MainMenuBar::Instance().AddMenuHandlers(display, [display](int index) {
      return static_cast<SurfaceWindow*>(display)->_About_Action(index);
    });
  };
  SurfaceWindow::SetWiring(std::move(wiring));
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

std::unique_ptr<EmbeddedFlight> StartDisplayMode(const CommandLine& line, QString& error) {
  if (QGuiApplication::platformName() != QLatin1String("xcb")) {
    error = QStringLiteral("'--root' and '--window-id' draw into X11 windows, and this display is not X11.");
    return nullptr;
  }
  uint32_t window = line.window_id.value_or(0);
  if (!window) window = ParseWindowId(qEnvironmentVariable("XSCREENSAVER_WINDOW")).value_or(0);
  const bool desktop = !window;
  if (desktop) window = X11VirtualRoot();
  const SettingOptions options = line.settings;
  auto flight = std::make_unique<EmbeddedFlight>(
      window, [options](int width) { return StartingSettings(width, options); }, [] { QCoreApplication::exit(0); },
      desktop);
  if (!flight->Open()) {
    error = QStringLiteral("There is no X window 0x%1 to draw into.").arg(window, 0, 16);
    return nullptr;
  }
  return flight;
}

Settings StartingSettings(int width, const SettingOptions& options) {
  Settings settings = DefaultSettings(width);
  LoadPrefsFile(settings);  // read only: these modes never write the file
  return WithOptions(settings, options);
}

namespace {
void SayError(const std::string& line) {
  if (!line.empty()) std::fprintf(stderr, "lumox: %s\n", line.c_str());
}

// Starts either host and runs the loop until it ends; an output that is not there is a usage error.
template <class Host>
int Fly(Host& host, bool fps) {
  SetFpsShown(fps);
  std::string error;
  if (const int status = host.Start(error)) {
    SayError(error);
    if (status == 2) std::fputs(qPrintable(UsageHint()), stderr);
    return status;
  }
  QuitOnSignals();
  return QCoreApplication::exec();
}
}  // namespace

int RunDesktopMode(int& argc, char** argv, const CommandLine& line) {
  DesktopModeOptions options;
  options.role = line.saver ? DesktopRole::kSaver : DesktopRole::kWallpaper;
  options.layer = line.layer;
  options.output = line.output.toStdString();
  options.starting = [settings = line.settings](int width) { return StartingSettings(width, settings); };
  const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
  const bool wayland = !platform.startsWith("xcb") &&
                       (!qEnvironmentVariableIsEmpty("WAYLAND_SOCKET") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"));
  if (wayland) {
    // Qt draws nothing here but the readout's text: it never opens the compositor's connection,
    // which stays the host's own (one from WAYLAND_SOCKET can be taken only once).
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    WaylandHost host(options, [](int status, const std::string& error) {
      SayError(error);
      QCoreApplication::exit(status);
    });
    return Fly(host, line.fps);
  }
  if (qEnvironmentVariableIsEmpty("DISPLAY")) {
    SayError("'--wallpaper' and '--saver' need a Wayland compositor with the layer shell or an X display, but "
             "neither WAYLAND_DISPLAY nor DISPLAY is set.");
    return 1;
  }
  ExitWithoutDisplay(argc, argv, true, {});
  qputenv("QT_QPA_PLATFORM", "xcb");
  QApplication app(argc, argv);
  X11DesktopHost host(options, [] { QCoreApplication::exit(0); });
  return Fly(host, line.fps);
}

}  // namespace lumox
