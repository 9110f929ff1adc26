#include "shell/app.h"

#include <QApplication>
#include <QMenuBar>

#include "display/surface_window.h"

namespace lumox {

MainMenuBar& MainMenuBar::Instance() {
  static MainMenuBar bar;
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
  if (SurfaceWindow* display = SurfaceWindow::Existing()) display->Event_Close();
  QApplication::closeAllWindows();
  QApplication::quit();
}

}  // namespace lumox
