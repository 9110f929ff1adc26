#pragma once
#include <QElapsedTimer>
#include <QMainWindow>
#include <QTimer>

#include "display/display_keys.h"
#include "display/fps_readout.h"
#include "display/key_glue.h"
#include "display/opengl_surface.h"
#include "display/sweep_timer.h"
#include "starfield/star_field.h"

namespace lumox {

// The display window: owns the stars, the five settings, CameraZ, both timers and the GL
// surface. Its fields are plain and public: the keys and the settings window write them and
// the timers read them at their next pass.
class SurfaceWindow : public QMainWindow, public StarField {
  Q_OBJECT
 public:
  // The one display window; the first call creates it and runs its opening inside the call.
  static SurfaceWindow* Instance();
  // The window if it exists, without creating one.
  static SurfaceWindow* Existing();
  ~SurfaceWindow() override;

  OpenGLSurface* Surface() const { return surface_; }
  QTimer* Timer1() { return &timer1_; }
  SweepTimer* Timer2() { return &timer2_; }

  bool ini_file_changed = false;
  bool escaped = false;

  void Timer1_Action();
  void Timer2_Action();
  bool Surface_Render();

  // Closing step: writes the settings file when it is due. Runs once, at quit.
  void Event_Close();
  void Event_Paint();
  void Event_Maximize();
  void Event_Minimize();
  // Carries out the key handler for the keys that are down now.
  void Event_KeyDown();

  // Takes the flight out of full screen as the first escape does (for a flight started windowed).
  void StartWindowed();

  // The About menu item's handler: opens the about window.
  bool _About_Action(int index);

  // Asks the window manager for the keyboard focus.
  void RequestActivation();

  // Timer2's period from the present StarMax and Speed.
  void ResetTimer2Period();
  Settings CurrentSettings() const;
  void ApplySettings(const Settings& settings);

 signals:
  // The flight came on screen (mapped and not minimised: after the opening, or restored) or
  // went off it (minimised, unmapped, closed). Sent once per change.
  void FlightShownChanged(bool shown);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  bool Settling() const;
  SurfaceWindow();
  void Event_Open();
  void LeaveFullScreen();
  QRect EscapedGeometry() const;
  void ShowPrefs();
  // Shows a small window of the flight's, focused and above it.
  void ShowAbove(QWidget* window);
  void UpdateFlightShown();

  OpenGLSurface* surface_ = nullptr;
  QTimer timer1_;
  SweepTimer timer2_;
  KeysDown keys_down_;
  bool closed_ = false;
  // Since escape took the window out of full screen; a maximize the window manager reports
  // within kWindowManagerEcho ms of that is its own doing.
  QElapsedTimer left_full_screen_;
  // On Wayland, between escape's new map of the window and its activation: fixed at its size.
  bool fixed_for_map_ = false;
  static constexpr int kWindowManagerEcho = 2000;
  FpsReadout fps_readout_;
  bool flight_shown_ = false;
};

// Application.MouseCursor: an override cursor that wins over every window's own.
void SetApplicationCursor(Qt::CursorShape shape);

}  // namespace lumox
