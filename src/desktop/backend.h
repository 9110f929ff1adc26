#pragma once
// What a platform gives the desktop core, and what it is told back. A backend reports outputs as
// they come and go, input and covered surfaces through the sink; the host asks it for a surface
// on an output to fly on, and for the saver's grab.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "desktop/desktop_core.h"
#include "flight/draw_target.h"
#include "flight/view_cut.h"

namespace lumox {

// The host, as the backend and its surfaces see it. Outputs are the backend's own numbers, never 0.
class DesktopSink {
 public:
  virtual ~DesktopSink() = default;
  virtual void OutputAdded(uint32_t output) = 0;
  // The output's name is known (or changed); a first description makes it fly.
  virtual void OutputDescribed(uint32_t output, const std::string& name) = 0;
  virtual void OutputRemoved(uint32_t output) = 0;
  // Its size or place changed where its surface can't follow.
  virtual void OutputReshaped(uint32_t output) = 0;
  // The output's surface has its size: the flight takes off, at this width in logical pixels.
  virtual void SurfaceReady(uint32_t output, int width) = 0;
  // It needs its picture again now (a new size, a new scale).
  virtual void SurfaceRedraw(uint32_t output) = 0;
  virtual void SurfaceCovered(uint32_t output, bool covered) = 0;
  virtual void SurfaceClosed(uint32_t output) = 0;
  // The surface can't be drawn on; `line` says why, and the process ends.
  virtual void SurfaceFailed(const std::string& line) = 0;
  virtual void UserInput(const InputEvent& event) = 0;
  // The connection broke; `display` names it as a sentence's subject ("the Wayland compositor").
  virtual void ConnectionLost(const std::string& display) = 0;
};

class DesktopBackend {
 public:
  virtual ~DesktopBackend() = default;
  // Connects and announces the outputs there are before it returns. False with `error` set
  // when the display can't host the flights.
  virtual bool Connect(std::string& error) = 0;
  // A surface on the output for its flight; null when it can't be made (the sink heard why).
  // It reports SurfaceReady once it can be drawn on, which may be at once.
  virtual std::unique_ptr<DrawTarget> MakeSurface(uint32_t output) = 0;
  // The saver's surface on this output takes the keyboard and the pointer; false while another
  // program holds them or the surface is not yet on screen.
  virtual bool Grab(uint32_t output) = 0;
  // Where the output stands in the desktop's layout, in logical pixels; none while unknown.
  virtual std::optional<ViewRect> Place(uint32_t output) const = 0;
};

}  // namespace lumox
