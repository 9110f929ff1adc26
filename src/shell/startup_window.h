#pragma once
#include <QDialog>
#include <QLabel>
#include <QPushButton>

namespace lumox {

// The picture canvas of the start window: draws the whole picture stretched over itself.
class StartCanvas : public QWidget {
  Q_OBJECT
 public:
  using QWidget::QWidget;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
};

// The start window: the picture with the title over it, the help text, "Quit" and "GO".
class wStartup : public QDialog {
  Q_OBJECT
 public:
  static wStartup* Instance();
  static wStartup* Existing();
  ~wStartup() override;

  StartCanvas* Canvas1;
  QLabel* Label1;
  QLabel* Label3;
  QPushButton* PushButton1;
  QPushButton* PushButton2;
  QLabel* Label2;

  void PushButton1_Action();
  void PushButton2_Action();
  // Centres the window on its screen (the whole window, title bar included).
  void PlaceOnScreen();

 protected:
  void keyPressEvent(QKeyEvent* event) override;  // escape presses Quit

 private:
  wStartup();
  void Event_Open();
};

// The help text as the program carries it, lines broken by carriage returns.
extern const char* const kStartupHelp;

}  // namespace lumox
