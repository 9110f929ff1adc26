#pragma once
// The wallpaper under GNOME Shell, whose compositor has no layer shell: an ordinary Wayland window
// on each monitor, drawn by Qt's own Wayland client, which Lumox's Shell extension (it starts the
// program so) keeps under every window, out of the window lists, at the monitor's geometry.
#include "desktop/backend.h"
#include "desktop/qt_screens.h"

namespace lumox {

class GnomeBackend : public DesktopBackend {
 public:
  // The app id the extension knows the windows by; each window's title is "Lumox <monitor>".
  static constexpr char kAppId[] = "lumox-wallpaper";

  explicit GnomeBackend(DesktopSink& sink) : sink_(sink), screens_(sink) {}
  bool Connect(std::string& error) override;
  std::unique_ptr<DrawTarget> MakeSurface(uint32_t output) override;
  bool Grab(uint32_t) override { return true; }
  std::optional<ViewRect> Place(uint32_t output) const override { return screens_.Place(output); }

 private:
  DesktopSink& sink_;
  QtScreens screens_;
};

}  // namespace lumox
