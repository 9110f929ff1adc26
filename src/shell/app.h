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

// SIGTERM, SIGINT and SIGHUP (a logout, Ctrl+C in a terminal) quit the same way as Ctrl+Q, or
// call `quit` where one is given. With `hangup`, SIGHUP calls that instead and quits nothing.
void QuitOnSignals(std::function<void()> quit = {}, std::function<void()> hangup = {});

// The display's closing step also runs when the process ends by exit() from inside the event
// loop, as Qt and Xlib end it when the X server goes away. Call once the application exists.
void RunClosingStepAtExit();

}  // namespace lumox
