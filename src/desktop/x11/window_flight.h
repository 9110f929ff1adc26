#pragma once
#include <QRect>
#include <QWindow>
#include <cstdint>
#include <functional>
#include <memory>

#include "flight/flight.h"
#include "flight/opengl_surface.h"
#include "desktop/x11/x11_windows.h"

namespace lumox {

// The flight drawn into a window of another program's (a screensaver's), filling it and
// following its size. It adds no window, key, menu or pointer of its own: input goes to the
// host window, which decides when the flight ends.
class EmbeddedFlight : public Flight {
 public:
  // The settings to start with in a window of this width, in logical pixels.
  using StartingSettings = std::function<Settings(int width)>;
  // `ended` is called once the host window is gone. `desktop` says the window is the (virtual)
  // root, whose children are other programs' windows, rather than a window given to draw into.
  // With an `area` (in the window's logical pixels) the flight covers that part of the window
  // alone, as one monitor's part of the root window; without, all of it.
  EmbeddedFlight(uint32_t window, StartingSettings starting, std::function<void()> ended, bool desktop = false,
                 QRect area = {});
  ~EmbeddedFlight() override;

  // Puts the surface into the window and takes off; false when there is no such window.
  bool Open();
  OpenGLSurface* Surface() const { return surface_.get(); }

 private:
  void Fit(QSize device_size);

  uint32_t window_;
  QRect area_;
  StartingSettings starting_;
  std::function<void()> ended_;
  bool desktop_;
  std::unique_ptr<X11WindowWatcher> watcher_;
  std::unique_ptr<QWindow> host_;
  std::unique_ptr<OpenGLSurface> surface_;  // a child of host_'s, so it goes first
};

}  // namespace lumox
