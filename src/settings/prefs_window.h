#pragma once
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <cstdint>

#include "flight/key_glue.h"

namespace lumox {

// The settings window: five sliders straight over the display's live fields. There is nothing
// to apply or undo, so OK and the hidden Cancel both only close it.
class wPrefs : public QDialog {
  Q_OBJECT
 public:
  // The open instance; the first call (or the first after a close) creates one and opens it.
  static wPrefs* Instance();
  static wPrefs* Existing();
  ~wPrefs() override;

  QPushButton* PushButton1;
  QPushButton* PushButton2;
  QSlider* Slider1;
  QLabel* Label1;
  QSlider* Slider2;
  QLabel* Label2;
  QSlider* Slider3;
  QLabel* Label3;
  QSlider* Slider4;
  QLabel* Label4;
  QSlider* Slider5;
  QPushButton* PushButton3;
  QLabel* Label5;
  QLabel* Label6[11];

  void Slider1_ValueChanged(int value);
  void Slider2_ValueChanged(int value);
  void Slider3_ValueChanged(int value);
  void Slider4_ValueChanged(int value);
  void Slider5_ValueChanged(int value);
  void PushButton1_Action();
  void PushButton2_Action();
  void PushButton3_Action();
  void Event_Activate();
  // Carries out the key handler for the keys that are down now.
  void Event_KeyDown();
  // Shows the display's fields on the sliders without writing any of them back.
  void LoadSliders();

  // Showing a minimised window brings it back, as the display's `s` key expects.
  void setVisible(bool visible) override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  explicit wPrefs(QWidget* parent);
  void Event_Open();
  void KeepAboveDisplay(bool above);
  void OnFocusWindowChanged(QWindow* focus);

  KeysDown keys_down_;
  bool activate_display_when_hidden_ = false;
};

}  // namespace lumox
