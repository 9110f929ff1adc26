#pragma once
#include <QLabel>
#include <QWidget>

namespace lumox {

// The about window's maker label: a press on it opens the maker's site.
class LinkLabel : public QLabel {
  Q_OBJECT
 public:
  using QLabel::QLabel;

 protected:
  void mousePressEvent(QMouseEvent* event) override;
};

// The about window: the close-up picture, five lines of text, a link to the maker's site.
class wAbout : public QWidget {
  Q_OBJECT
 public:
  static wAbout* Instance();
  static wAbout* Existing();
  ~wAbout() override;

  QLabel* Canvas1;
  QLabel* Label1;
  QLabel* Label2;
  QLabel* Label3;
  LinkLabel* Label4;
  QLabel* Label5;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  explicit wAbout(QWidget* parent);
  void Event_Open();
  void Event_Close();
};

}  // namespace lumox
