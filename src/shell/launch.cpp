#include "shell/launch.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <cstdio>

#include "desktop/battery_watch.h"
#include "desktop/desktop_host.h"
#include "desktop/gnome/gnome_backend.h"
#include "desktop/wayland/wayland_backend.h"
#include "desktop/x11/x11_backend.h"
#include "desktop/x11/x11_probe.h"

#include "flight/flight_options.h"
#include "display/surface_window.h"
#include "settings/prefs_follow.h"
#include "settings/prefs_store.h"
#include "settings/prefs_watch.h"
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

std::unique_ptr<WindowFlight> StartDisplayMode(const CommandLine& line, QString& error) {
  if (QGuiApplication::platformName() != QLatin1String("xcb")) {
    error = QStringLiteral("This display is not X11, and '--root' and '--window-id' draw into X11 windows.");
    return nullptr;
  }
  uint32_t window = line.window_id.value_or(0);
  if (!window) window = ParseWindowId(qEnvironmentVariable("XSCREENSAVER_WINDOW")).value_or(0);
  const bool desktop = !window;
  if (desktop) window = X11VirtualRoot();
  const SettingOptions options = line.settings;
  auto flight = std::make_unique<WindowFlight>(
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

bool FollowPrefsFile(Flight& flight, int width, const SettingOptions& options) {
  Settings read = DefaultSettings(width);
  if (LoadPrefsFile(read) == PrefsFileState::Unreadable) {
    std::fprintf(stderr, "lumox: %s\n", UnreadablePrefsLine(PrefsFilePath().toStdString()).c_str());
    return false;
  }
  flight.Follow(FollowPrefs(flight.CurrentSettings(), read, options));
  return true;
}

int RunDesktopMode(int& argc, char** argv, const CommandLine& line) {
  DesktopModeOptions options;
  options.role = line.saver ? DesktopRole::kSaver : DesktopRole::kWallpaper;
  options.layer = line.layer;
  options.output = line.output.toStdString();
  options.span = line.span;
  options.starting = [settings = line.settings](int width) { return StartingSettings(width, settings); };
  options.follow = [settings = line.settings](Flight& flight, int width) {
    return FollowPrefsFile(flight, width, settings);
  };
  const DisplayChoice::Host display =
      DecideDisplay(argc, argv, line.gnome_shell ? DisplayUse::kShellWindows : DisplayUse::kDesktop, {});
  QApplication app(argc, argv);
  LetGoOfX11Probe();
  SetFpsShown(line.fps);
  DesktopHost host(options, [](int status, const std::string& error) {
    if (!error.empty()) std::fprintf(stderr, "lumox: %s\n", error.c_str());
    QCoreApplication::exit(status);
  });
  std::unique_ptr<DesktopBackend> backend;
  if (line.gnome_shell)
    backend = std::make_unique<GnomeBackend>(host);
  else if (display == DisplayChoice::kWayland)
    backend = std::make_unique<WaylandBackend>(host, host.Options());
  else
    backend = std::make_unique<X11Backend>(host, host.Options());
  std::string error;
  if (const int status = host.Start(std::move(backend), error)) {
    std::fprintf(stderr, "lumox: %s\n", error.c_str());
    if (status == 2) std::fputs(qPrintable(UsageHint()), stderr);
    return status;
  }
  PrefsWatch watch(PrefsFilePath(), [&host] { host.FollowSettings(); });
  QuitOnSignals([&host] { host.Signalled(); }, [&host] { host.FollowSettings(); });
  BatteryWatch battery([&host](bool on_battery) { host.Hold(on_battery); });
  if (line.pause_on_battery) {
    if (std::string why; !battery.Start(why)) std::fprintf(stderr, "lumox: %s\n", why.c_str());
  }
  return QCoreApplication::exec();
}

}  // namespace lumox
