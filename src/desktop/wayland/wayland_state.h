#pragma once
// What the Wayland backend's files share: the connection, the globals it binds and what it knows
// of each output and seat. Each protocol concern has a file of its own.
#include <EGL/egl.h>
#include <wayland-client.h>

#include <QMetaObject>
#include <QSocketNotifier>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "desktop/backend.h"

struct zwlr_layer_shell_v1;
struct zxdg_output_manager_v1;
struct zxdg_output_v1;
struct wp_viewporter;
struct wp_fractional_scale_manager_v1;

namespace lumox {

struct WaylandState;

struct OutputEntry {
  WaylandState* state = nullptr;
  uint32_t name = 0;
  wl_output* output = nullptr;
  zxdg_output_v1* xdg = nullptr;
  std::string wl_name, xdg_name;
  int scale = 1;
  bool done = false;
  // Its place in the layout: xdg-output's logical one, else wl_output's position and current mode.
  ViewRect logical, device;
  bool has_logical = false, has_mode = false, turned = false;
  std::string Name() const { return !wl_name.empty() ? wl_name : xdg_name; }
  std::optional<ViewRect> Place() const;
};

struct SeatEntry {
  WaylandState* state = nullptr;
  uint32_t name = 0;
  wl_seat* seat = nullptr;
  wl_keyboard* keyboard = nullptr;
  wl_pointer* pointer = nullptr;
  wl_touch* touch = nullptr;
  wl_surface* pointer_surface = nullptr;
};

struct WaylandState {
  DesktopSink& sink;
  const DesktopModeOptions& options;
  wl_display* display = nullptr;
  wl_registry* registry = nullptr;
  wl_compositor* compositor = nullptr;
  zwlr_layer_shell_v1* layer_shell = nullptr;
  zxdg_output_manager_v1* xdg_outputs = nullptr;
  // Both or neither: a fractional scale is drawn through a viewport.
  wp_viewporter* viewporter = nullptr;
  wp_fractional_scale_manager_v1* fractional_scales = nullptr;
  std::map<uint32_t, std::unique_ptr<OutputEntry>> outputs;
  std::map<uint32_t, std::unique_ptr<SeatEntry>> seats;
  // Each flying output's layer surface, kept up to date by the surfaces themselves.
  std::map<uint32_t, class LayerSurface*> layers;
  EGLDisplay egl = EGL_NO_DISPLAY;
  EGLConfig config = nullptr;
  std::unique_ptr<QSocketNotifier> reader, writer;
  QMetaObject::Connection before_sleep;
  bool lost = false;
};

// registry.cpp: binds the globals and follows outputs and seats as they come and go.
void ListenToRegistry(WaylandState& s);
void DropGlobals(WaylandState& s);
// seat.cpp: the keyboards, pointers and touch screens of a seat, as its capabilities change.
void AddSeat(WaylandState& s, uint32_t name, wl_seat* seat);
void DropSeat(SeatEntry& seat);
// egl.cpp: desktop GL over the connection.
bool SetUpEgl(WaylandState& s);
// layer_surface.cpp: one output's layer surface, as a flight's drawing target.
std::unique_ptr<DrawTarget> MakeLayerSurface(WaylandState& s, const OutputEntry& output);
void RescaleLayerSurface(WaylandState& s, uint32_t output, int scale);
// The output whose layer surface this is; 0 for none.
uint32_t OutputOfSurface(const WaylandState& s, const wl_surface* surface);

}  // namespace lumox
