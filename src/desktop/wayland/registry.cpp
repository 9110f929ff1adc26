// The registry: the globals this backend binds, and the outputs and seats as they come and go.
#include <algorithm>
#include <cstring>

#include "desktop/wayland/wayland_state.h"
#include "fractional-scale-v1-client-protocol.h"
#include "viewporter-client-protocol.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-output-unstable-v1-client-protocol.h"

namespace lumox {

namespace {
// The newest versions this backend speaks; a compositor's older ones are taken as they are.
constexpr uint32_t kCompositorVersion = 4;
constexpr uint32_t kOutputVersion = 4;
constexpr uint32_t kXdgOutputVersion = 3;
constexpr uint32_t kLayerShellVersion = 4;
constexpr uint32_t kSeatVersion = 5;
constexpr uint32_t kViewporterVersion = 1;
constexpr uint32_t kFractionalScaleVersion = 1;

void Describe(OutputEntry& o) {
  o.state->sink.OutputDescribed(o.name, o.Name());
  RescaleLayerSurface(*o.state, o.name, o.scale);
}

const wl_output_listener kOutputListener = {
    [](void* data, wl_output*, int32_t x, int32_t y, int32_t, int32_t, int32_t, const char*, const char*,
       int32_t transform) {
      auto* o = static_cast<OutputEntry*>(data);
      o->device.x = x;
      o->device.y = y;
      o->turned = transform % 2 == 1;  // a quarter turn either way, flipped or not
    },
    [](void* data, wl_output*, uint32_t flags, int32_t width, int32_t height, int32_t) {
      auto* o = static_cast<OutputEntry*>(data);
      if (!(flags & WL_OUTPUT_MODE_CURRENT)) return;
      o->device.width = width;
      o->device.height = height;
      o->has_mode = true;
    },
    [](void* data, wl_output*) {
      auto* o = static_cast<OutputEntry*>(data);
      o->done = true;
      Describe(*o);
    },
    [](void* data, wl_output*, int32_t factor) { static_cast<OutputEntry*>(data)->scale = factor; },
    [](void* data, wl_output*, const char* name) { static_cast<OutputEntry*>(data)->wl_name = name; },
    [](void*, wl_output*, const char*) {},
};

const zxdg_output_v1_listener kXdgOutputListener = {
    [](void* data, zxdg_output_v1*, int32_t x, int32_t y) {
      auto* o = static_cast<OutputEntry*>(data);
      o->logical.x = x;
      o->logical.y = y;
    },
    [](void* data, zxdg_output_v1*, int32_t width, int32_t height) {
      auto* o = static_cast<OutputEntry*>(data);
      o->logical.width = width;
      o->logical.height = height;
      o->has_logical = true;
    },
    [](void* data, zxdg_output_v1*) {
      auto* o = static_cast<OutputEntry*>(data);
      if (o->done) Describe(*o);
    },
    [](void* data, zxdg_output_v1*, const char* name) { static_cast<OutputEntry*>(data)->xdg_name = name; },
    [](void*, zxdg_output_v1*, const char*) {},
};

// An output's name comes from wl_output 4, else from xdg-output.
void WatchNames(WaylandState& s, OutputEntry& o) {
  if (o.xdg || !s.xdg_outputs) return;
  o.xdg = zxdg_output_manager_v1_get_xdg_output(s.xdg_outputs, o.output);
  zxdg_output_v1_add_listener(o.xdg, &kXdgOutputListener, &o);
}

void DropOutput(OutputEntry& o) {
  if (o.xdg) zxdg_output_v1_destroy(o.xdg);
  // Released where the version allows, so the compositor frees its side of an unplugged monitor.
  if (wl_output_get_version(o.output) >= WL_OUTPUT_RELEASE_SINCE_VERSION)
    wl_output_release(o.output);
  else
    wl_output_destroy(o.output);
}

void Global(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version) {
  WaylandState& s = *static_cast<WaylandState*>(data);
  const auto bind = [&](const wl_interface* type, uint32_t newest) {
    return wl_registry_bind(registry, name, type, std::min(version, newest));
  };
  if (!strcmp(interface, wl_compositor_interface.name) && !s.compositor) {
    s.compositor = static_cast<wl_compositor*>(bind(&wl_compositor_interface, kCompositorVersion));
  } else if (!strcmp(interface, zwlr_layer_shell_v1_interface.name) && !s.layer_shell) {
    s.layer_shell = static_cast<zwlr_layer_shell_v1*>(bind(&zwlr_layer_shell_v1_interface, kLayerShellVersion));
  } else if (!strcmp(interface, zxdg_output_manager_v1_interface.name) && !s.xdg_outputs) {
    s.xdg_outputs = static_cast<zxdg_output_manager_v1*>(bind(&zxdg_output_manager_v1_interface, kXdgOutputVersion));
    for (auto& [id, o] : s.outputs) WatchNames(s, *o);
  } else if (!strcmp(interface, wp_viewporter_interface.name) && !s.viewporter) {
    s.viewporter = static_cast<wp_viewporter*>(bind(&wp_viewporter_interface, kViewporterVersion));
  } else if (!strcmp(interface, wp_fractional_scale_manager_v1_interface.name) && !s.fractional_scales) {
    s.fractional_scales = static_cast<wp_fractional_scale_manager_v1*>(
        bind(&wp_fractional_scale_manager_v1_interface, kFractionalScaleVersion));
  } else if (!strcmp(interface, wl_output_interface.name)) {
    auto o = std::make_unique<OutputEntry>();
    o->state = &s;
    o->name = name;
    o->output = static_cast<wl_output*>(bind(&wl_output_interface, kOutputVersion));
    wl_output_add_listener(o->output, &kOutputListener, o.get());
    WatchNames(s, *o);
    s.outputs[name] = std::move(o);
    s.sink.OutputAdded(name);
  } else if (!strcmp(interface, wl_seat_interface.name) && s.options.role == DesktopRole::kSaver) {
    AddSeat(s, name, static_cast<wl_seat*>(bind(&wl_seat_interface, kSeatVersion)));  // only the saver listens
  }
}

void GlobalRemove(void* data, wl_registry*, uint32_t name) {
  WaylandState& s = *static_cast<WaylandState*>(data);
  if (const auto seat = s.seats.find(name); seat != s.seats.end()) {
    DropSeat(*seat->second);
    s.seats.erase(seat);
  }
  if (const auto output = s.outputs.find(name); output != s.outputs.end()) {
    s.sink.OutputRemoved(name);  // its flight lands before the output it flies on goes
    DropOutput(*output->second);
    s.outputs.erase(output);
  }
}

const wl_registry_listener kRegistryListener = {Global, GlobalRemove};
}  // namespace

std::optional<ViewRect> OutputEntry::Place() const {
  if (has_logical) return logical;
  if (!has_mode) return std::nullopt;
  const int64_t scale = std::max(this->scale, 1);
  const int64_t width = device.width / scale, height = device.height / scale;
  return ViewRect{device.x, device.y, turned ? height : width, turned ? width : height};
}

void ListenToRegistry(WaylandState& s) {
  s.registry = wl_display_get_registry(s.display);
  wl_registry_add_listener(s.registry, &kRegistryListener, &s);
}

void DropGlobals(WaylandState& s) {
  for (auto& [name, seat] : s.seats) DropSeat(*seat);
  s.seats.clear();
  for (auto& [name, output] : s.outputs) DropOutput(*output);
  s.outputs.clear();
  if (s.xdg_outputs) zxdg_output_manager_v1_destroy(s.xdg_outputs);
  if (s.fractional_scales) wp_fractional_scale_manager_v1_destroy(s.fractional_scales);
  if (s.viewporter) wp_viewporter_destroy(s.viewporter);
  if (s.layer_shell) zwlr_layer_shell_v1_destroy(s.layer_shell);
  if (s.compositor) wl_compositor_destroy(s.compositor);
  if (s.registry) wl_registry_destroy(s.registry);
}

}  // namespace lumox
