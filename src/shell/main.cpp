#include <QApplication>
#include <cstdio>
#include <cstdlib>

#include "desktop/x11/x11_probe.h"
#include "settings/prefs_store.h"
#include "settings/prefs_watch.h"
#include "display/surface_window.h"
#include "shell/app.h"
#include "shell/command_line.h"
#include "shell/desktop_identity.h"
#include "shell/display_check.h"
#include "shell/idle_inhibitor.h"
#include "shell/launch.h"

namespace {

int UsageError(const QString& error) {
  std::fputs(qPrintable(QStringLiteral("lumox: ") + error + QLatin1Char('\n') + lumox::UsageHint()), stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  // --help and --version need no display, so they are answered before Qt looks for one.
  const lumox::CommandLine early = lumox::ParseCommandLine(lumox::ArgumentList(argc, argv), true);
  if (early.help || early.version) {
    std::fputs(qPrintable(early.help ? lumox::HelpText() : lumox::VersionText()), stdout);
    return 0;
  }
  if (early.wallpaper || early.saver) {
    if (!early.error.isEmpty()) return UsageError(early.error);
    return lumox::RunDesktopMode(argc, argv, early);
  }
  const bool display_mode = early.root || early.window_id;
  lumox::DecideDisplay(argc, argv, display_mode ? lumox::DisplayUse::kX11Window : lumox::DisplayUse::kWindows,
                       early.error);
  QApplication app(argc, argv);
  lumox::LetGoOfX11Probe();
  lumox::SetDesktopIdentity();
  // Qt has taken out the options it knows (-platform and the rest); what is left is ours.
  const lumox::CommandLine options = lumox::ParseCommandLine(QCoreApplication::arguments());
  if (const QString error = options.error.isEmpty() ? lumox::ApplyCommandLine(options) : options.error;
      !error.isEmpty())
    return UsageError(error);

  if (options.root || options.window_id) {
    QString error;
    const std::unique_ptr<lumox::WindowFlight> flight = lumox::StartDisplayMode(options, error);
    if (!flight) {
      std::fputs(qPrintable(QStringLiteral("lumox: ") + error + QLatin1Char('\n')), stderr);
      return 1;
    }
    // The settings file is followed as it changes, and read anew on SIGHUP.
    const auto follow = [&flight, &options] {
      lumox::FollowPrefsFile(flight->Flight(), flight->Surface()->width(), options.settings);
    };
    lumox::PrefsWatch watch(lumox::PrefsFilePath(), follow);
    lumox::QuitOnSignals({}, follow);
    const int status = app.exec();
    if (flight->HostGone()) {
      std::fflush(nullptr);
      std::_Exit(status);
    }
    return status;
  }

  lumox::MainMenuBar::Instance();
  lumox::WireDisplay();
  lumox::QuitOnSignals();
  lumox::RunClosingStepAtExit();
  lumox::IdleInhibitor keep_awake;  // the screen stays awake while the flight is shown
  // However the loop ends, the display's closing step runs (it runs once at most).
  QObject::connect(&app, &QApplication::aboutToQuit, [] {
    if (auto* display = lumox::SurfaceWindow::Existing()) display->Event_Close();
  });
  if (options.go)
    lumox::FlyNow(options.window);
  else
    lumox::ShowStartWindow(!options.screen.isEmpty());
  return app.exec();
}
