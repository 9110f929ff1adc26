#pragma once
#include <QElapsedTimer>
#include <QMainWindow>
#include <functional>

#include "flight/display_keys.h"
#include "flight/flight.h"
#include "flight/key_glue.h"
#include "flight/opengl_surface.h"

namespace lumox {

// What the display window takes from the program around it: the settings file, the settings
// and about windows, the menu. The shell fills it in before the window first opens.
struct DisplayWiring {
  // Fills in the settings from the file when there is one to read; gives whether the settings
  // are due to be written at quit (there was no file).
  std::function<bool(Settings&)> load_settings;
  std::function<void(const Settings&)> save_settings;
  std::function<QWidget*()> prefs_window;
  std::function<QWidget*()> about_window;
  std::function<void(QMainWindow*)> attach_menu;
};

// The display window: hosts the flight full screen or in its window, with the keys, the menu
// and the settings window around it. The flight's fields are plain and public: the keys and the
// settings window write them and the timers read them at their next pass.
class SurfaceWindow : public QMainWindow, public Flight {
  Q_OBJECT
 public:
  static void SetWiring(DisplayWiring wiring);
  // The one display window; the first call creates it and runs its opening inside the call.
  static SurfaceWindow* Instance();
  // The window if it exists, without creating one.
  static SurfaceWindow* Existing();
  OpenGLSurface* Surface() const { return surface_; }
  ~SurfaceWindow() override;

  bool ini_file_changed = false;
  bool escaped = false;

  // Closing step: writes the settings file when it is due. Runs once, at quit.
  void Event_Close();
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

  OpenGLSurface* surface_;
  KeysDown keys_down_;
  bool closed_ = false;
  // Since escape took the window out of full screen; a maximize the window manager reports
  // within kWindowManagerEcho ms of that is its own doing.
  QElapsedTimer left_full_screen_;
  // On Wayland, between escape's new map of the window and its activation: fixed at its size.
  bool fixed_for_map_ = false;
  static constexpr int kWindowManagerEcho = 2000;
  bool flight_shown_ = false;
};

// Application.MouseCursor: an override cursor that wins over every window's own.
void SetApplicationCursor(Qt::CursorShape shape);

}  // namespace lumox
