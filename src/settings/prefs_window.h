#pragma once
#include <QDialog>

namespace lumox {

// The settings window (being written).
class wPrefs : public QDialog {
  Q_OBJECT
 public:
  static wPrefs* Instance();
  static wPrefs* Existing();
  ~wPrefs() override;

 private:
  wPrefs();
};

}  // namespace lumox
