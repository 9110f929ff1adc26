#pragma once
#include <QWindow>
#include <cstdint>
#include <functional>
#include <memory>

#include "desktop/x11/x11_windows.h"
#include "flight/flight.h"
#include "flight/opengl_surface.h"

namespace lumox {

// The flight drawn into a window of another program's (a screensaver's), filling it and
// following its size. It adds no window, key, menu or pointer of its own: input goes to the
// host window, which decides when the flight ends.
class WindowFlight {
 public:
  // The settings to start with in a window of this width, in logical pixels.
  using StartingSettings = std::function<Settings(int width)>;
  // `ended` is called once the host window is gone. `desktop` says the window is the (virtual)
  // root, whose children are other programs' windows, rather than a window given to draw into.
  WindowFlight(uint32_t window, StartingSettings starting, std::function<void()> ended, bool desktop = false);
  ~WindowFlight();

  // Puts the surface into the window and takes off; false when there is no such window.
  bool Open();
  // The window it was put into has gone. Closing the display then tears down a GL context whose
  // drawable went with it, which crashes Mesa's software renderer: the process ends without that.
  bool HostGone() const;
  OpenGLSurface* Surface() const { return surface_.get(); }
  const lumox::Flight& Flight() const { return flight_; }
  lumox::Flight& Flight() { return flight_; }

 private:
  void Fit(QSize device_size);

  uint32_t window_;
  StartingSettings starting_;
  std::function<void()> ended_;
  bool desktop_;
  bool gone_ = false;  // the host window was destroyed
  std::unique_ptr<X11WindowWatcher> watcher_;
  std::unique_ptr<QWindow> host_;
  std::unique_ptr<OpenGLSurface> surface_;  // a child of host_'s, so it goes first
  lumox::Flight flight_;                    // drawn on surface_, so it goes before it
};

}  // namespace lumox
