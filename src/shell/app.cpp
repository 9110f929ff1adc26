#include "shell/app.h"

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

#include <QApplication>
#include <QSocketNotifier>
#include <QMenuBar>

#include "display/surface_window.h"

namespace lumox {

MainMenuBar& MainMenuBar::Instance() {
  // Never destroyed: its menus are widgets, and at exit there may be no application or no X
  // connection left to take them down against (a lost X server ends the process by exit()).
  static MainMenuBar& bar = *new MainMenuBar;
  return bar;
}

MainMenuBar::MainMenuBar() {
  Untitled0();
  Untitled1();
}

void MainMenuBar::Untitled0() {
  ApplicationMenu.setTitle(QStringLiteral("&File"));
  About = ApplicationMenu.addAction(QStringLiteral("About Lumox"));
  About->setEnabled(false);  // until the display window binds its handler
  FileQuit = ApplicationMenu.addAction(QStringLiteral("&Quit"));
  FileQuit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
  FileQuit->setShortcutContext(Qt::ApplicationShortcut);
  QObject::connect(FileQuit, &QAction::triggered, [] { QuitApplication(); });
}

void MainMenuBar::Untitled1() {
  EditMenu.setTitle(QStringLiteral("&Edit"));
  struct Item {
    const char* text;
    QKeySequence shortcut;
  };
  const Item items[] = {
      {"&Undo", QKeySequence(Qt::CTRL | Qt::Key_Z)}, {"-", {}},
      {"Cu&t", QKeySequence(Qt::CTRL | Qt::Key_X)},  {"&Copy", QKeySequence(Qt::CTRL | Qt::Key_C)},
      {"&Paste", QKeySequence(Qt::CTRL | Qt::Key_V)}, {"&Delete", {}},
      {"-", {}},                                      {"Select &All", QKeySequence(Qt::CTRL | Qt::Key_A)},
  };
  // Nothing in the program takes text, so the edit items have no action and stay inactive.
  for (const Item& item : items) {
    if (QString(item.text) == QStringLiteral("-")) {
      EditMenu.addSeparator();
      continue;
    }
    QAction* action = EditMenu.addAction(QString::fromUtf8(item.text));
    action->setShortcut(item.shortcut);
    action->setEnabled(false);
  }
}

void MainMenuBar::AttachTo(QMainWindow* window) {
  window->menuBar()->addMenu(&ApplicationMenu);
  window->menuBar()->addMenu(&EditMenu);
  AddShortcutsTo(window);
}

void MainMenuBar::AddShortcutsTo(QWidget* window) { window->addAction(FileQuit); }

void MainMenuBar::AddMenuHandlers(QWidget* window, std::function<bool(int)> about_action) {
  QObject::connect(About, &QAction::triggered, window, [about_action] { about_action(0); });
  About->setEnabled(true);
}

void QuitApplication() {
  QApplication::closeAllWindows();  // the display's close runs its closing step
  QApplication::quit();
}

namespace {
int g_signal_pipe[2] = {-1, -1};
void OnSignal(int signal) {
  const char byte = static_cast<char>(signal);
  [[maybe_unused]] const ssize_t n = write(g_signal_pipe[1], &byte, 1);
}
}  // namespace

void QuitOnSignals(std::function<void()> quit, std::function<void()> hangup) {
  // A signal handler may do next to nothing; it wakes the event loop, which quits.
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, g_signal_pipe) != 0) return;
  auto* notifier = new QSocketNotifier(g_signal_pipe[0], QSocketNotifier::Read, qApp);
  QObject::connect(notifier, &QSocketNotifier::activated, [quit = std::move(quit), hangup = std::move(hangup)] {
    char byte = 0;
    [[maybe_unused]] const ssize_t n = read(g_signal_pipe[0], &byte, 1);
    if (byte == SIGHUP && hangup)
      hangup();
    else if (quit)
      quit();
    else
      QuitApplication();
  });
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (int signal : {SIGTERM, SIGINT, SIGHUP}) sigaction(signal, &action, nullptr);
}

void RunClosingStepAtExit() {
  // Registered after the application's own exit handlers, so it runs before them. At a normal
  // quit the step has run already and this does nothing.
  std::atexit([] {
    if (auto* display = SurfaceWindow::Existing()) display->Event_Close();
  });
}

}  // namespace lumox
