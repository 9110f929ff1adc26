#pragma once
// The flight as a layer surface on each output of a Wayland compositor (the wlr layer shell, as
// sway, Hyprland, KWin and others offer it). A host of its own on libwayland-client and EGL, so it
// works where Qt has no layer shell, and as the backdrop a lock screen runs from WAYLAND_SOCKET.
#include <QObject>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "desktop/desktop_mode.h"
#include "desktop/desktop_core.h"

namespace lumox {

class Flight;
class LayerFlight;
struct WaylandGlobals;

class WaylandHost : public QObject {
 public:
  // `ended` is called once when the process should end: with the exit status and, unless empty,
  // the one line to say on standard error.
  WaylandHost(DesktopModeOptions options, std::function<void(int, const std::string&)> ended);
  ~WaylandHost() override;

  // Connects (WAYLAND_SOCKET, else WAYLAND_DISPLAY), learns the outputs and flies on them. Gives
  // 0, or the exit status with `error` set: 1 for a compositor that can't host the flight, 2 for
  // an output that is not there.
  int Start(std::string& error);

  // What the compositor says of outputs and surfaces, as its events carry it.
  void OutputDescribed(uint32_t output);
  void OutputRemoved(uint32_t output);
  void SurfaceClosed(uint32_t output);
  // The pointer is over the flight on `output`, at this place in logical pixels.
  void PointerAt(uint32_t output, double x, double y);
  // A key or a button went down.
  void UserPressed();

  // The outputs that have a flight, by their registry names, and the flight on one (or null).
  std::vector<uint32_t> FlyingOutputs() const;
  const Flight* FlightOn(uint32_t output) const;
  const OutputPlan& Plan() const { return plan_; }
  // The output whose flight's surface this is; 0 for none.
  uint32_t OutputOf(const void* surface) const;

 private:
  void Carry(const std::vector<OutputChange>& changes);
  void Pump();
  void ReadEvents();
  void End(int status, const std::string& line);

  DesktopModeOptions options_;
  std::function<void(int, const std::string&)> ended_;
  std::unique_ptr<WaylandGlobals> globals_;
  OutputPlan plan_;
  WakeWatch wake_;
  std::map<uint32_t, std::unique_ptr<LayerFlight>> flights_;
  bool ended_once_ = false;
};

}  // namespace lumox
