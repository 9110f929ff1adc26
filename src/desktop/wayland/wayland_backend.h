#pragma once
// The desktop modes on a Wayland compositor with the wlr layer shell (sway, Hyprland, KWin and
// others): one layer surface per output. A client of its own on libwayland-client and EGL, so it
// works where Qt has no layer shell, and as the backdrop a lock screen runs from WAYLAND_SOCKET.
#include <QObject>
#include <memory>

#include "desktop/backend.h"

namespace lumox {

struct WaylandState;

class WaylandBackend : public QObject, public DesktopBackend {
 public:
  WaylandBackend(DesktopSink& sink, const DesktopModeOptions& options);
  ~WaylandBackend() override;

  // Connects (WAYLAND_SOCKET, else WAYLAND_DISPLAY), binds the globals and learns the outputs.
  bool Connect(std::string& error) override;
  std::unique_ptr<DrawTarget> MakeSurface(uint32_t output) override;
  // The saver's layer surfaces take the keyboard by themselves.
  bool Grab(uint32_t) override { return true; }
  std::optional<ViewRect> Place(uint32_t output) const override;

 private:
  void Pump();
  void ReadEvents();
  std::unique_ptr<WaylandState> state_;
};

}  // namespace lumox
