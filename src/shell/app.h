#pragma once
#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <functional>

namespace lumox {

// The application's one menu tree, built once at start. Windows that carry a menu bar show it;
// the quit item's Ctrl+Q works from every window as an application-wide shortcut.
class MainMenuBar {
 public:
  static MainMenuBar& Instance();

  void AttachTo(QMainWindow* window);
  // Ctrl+Q for a window that carries no menu bar.
  void AddShortcutsTo(QWidget* window);
  // Gives the About item its action: the display window's about handler.
  void AddMenuHandlers(QWidget* window, std::function<bool(int)> about_action);

  QMenu ApplicationMenu;
  QAction* About = nullptr;
  QAction* FileQuit = nullptr;
  QMenu EditMenu;

 private:
  MainMenuBar();
  void Untitled0();
  void Untitled1();
};

// Quits: the display window runs its closing step (which may write the settings), then the
// event loop ends.
void QuitApplication();

// SIGTERM, SIGINT and SIGHUP (a logout, Ctrl+C in a terminal) quit the same way as Ctrl+Q.
void QuitOnSignals();

// The display's closing step also runs when the process ends by exit() from inside the event
// loop, as Qt and Xlib end it when the X server goes away. Call once the application exists.
void RunClosingStepAtExit();

// Without a display to start on (DISPLAY or WAYLAND_DISPLAY set, or a platform or an X display
// chosen by -platform, -display or QT_QPA_PLATFORM), says so in one line and ends the process
// with status 1, where Qt would abort.
// With `x11_only` it takes an X display and nothing else, and says `x11_message` without one.
void ExitWithoutDisplay(int argc, char** argv, bool x11_only = false, const char* x11_message = nullptr);

}  // namespace lumox
