#include "desktop/wayland/wayland_backend.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <wayland-client.h>
#include <wayland-egl.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "flight/flight.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-output-unstable-v1-client-protocol.h"

namespace lumox {

namespace {
// The newest versions this host speaks; a compositor's older ones are taken as they are.
constexpr uint32_t kCompositorVersion = 4;
constexpr uint32_t kOutputVersion = 4;
constexpr uint32_t kXdgOutputVersion = 3;
constexpr uint32_t kLayerShellVersion = 4;
constexpr uint32_t kSeatVersion = 5;
}  // namespace

struct OutputEntry {
  WaylandHost* host = nullptr;
  uint32_t name = 0;
  wl_output* output = nullptr;
  zxdg_output_v1* xdg = nullptr;
  std::string wl_name, xdg_name;
  int scale = 1;
  bool done = false;
  std::string Name() const { return !wl_name.empty() ? wl_name : xdg_name; }
};

struct SeatEntry {
  WaylandHost* host = nullptr;
  uint32_t name = 0;
  wl_seat* seat = nullptr;
  wl_keyboard* keyboard = nullptr;
  wl_pointer* pointer = nullptr;
  wl_surface* pointer_surface = nullptr;
};

// The connection and the globals this host binds, and the EGL display over the connection.
struct WaylandGlobals {
  wl_display* display = nullptr;
  wl_registry* registry = nullptr;
  wl_compositor* compositor = nullptr;
  zwlr_layer_shell_v1* layer_shell = nullptr;
  zxdg_output_manager_v1* xdg_outputs = nullptr;
  std::map<uint32_t, std::unique_ptr<OutputEntry>> outputs;
  std::map<uint32_t, std::unique_ptr<SeatEntry>> seats;
  EGLDisplay egl = EGL_NO_DISPLAY;
  EGLConfig config = nullptr;
  std::unique_ptr<QSocketNotifier> notifier;
  QMetaObject::Connection before_sleep;
  WaylandHost* host = nullptr;
  bool saver = false;  // only the saver listens to the seats
};

// One output's flight: a layer surface with an EGL window and context of its own, so each
// output has its own camera. It draws only once configured, and only when the compositor wants
// a frame: a covered surface gets no frame callbacks, and its flight pauses until one comes.
class LayerFlight : public Flight, public DrawTarget {
 public:
  LayerFlight(WaylandGlobals& g, const OutputEntry& output, const DesktopModeOptions& options,
              std::function<void()> closed);
  ~LayerFlight() override;

  bool MakeCurrent() override;
  int DeviceWidth() const override { return width_ * scale_; }
  int DeviceHeight() const override { return height_ * scale_; }
  double PixelRatio() const override { return scale_; }
  void Swap() override;
  bool TakesFrames() const override { return !frame_pending_; }

  wl_surface* WlSurface() const { return surface_; }
  void Rescale(int scale);

 private:
  static const zwlr_layer_surface_v1_listener kLayerListener;
  static const wl_callback_listener kFrameListener;
  void Configure(uint32_t serial, uint32_t width, uint32_t height);
  void FrameDone();

  WaylandGlobals& g_;
  const DesktopModeOptions& options_;
  std::function<void()> closed_;
  wl_surface* surface_ = nullptr;
  zwlr_layer_surface_v1* layer_ = nullptr;
  wl_egl_window* window_ = nullptr;
  EGLSurface egl_surface_ = EGL_NO_SURFACE;
  EGLContext context_ = EGL_NO_CONTEXT;
  wl_callback* frame_ = nullptr;
  bool frame_pending_ = false;
  int width_ = 0, height_ = 0, scale_ = 1;
};

const zwlr_layer_surface_v1_listener LayerFlight::kLayerListener = {
    [](void* data, zwlr_layer_surface_v1*, uint32_t serial, uint32_t width, uint32_t height) {
      static_cast<LayerFlight*>(data)->Configure(serial, width, height);
    },
    [](void* data, zwlr_layer_surface_v1*) { static_cast<LayerFlight*>(data)->closed_(); },
};

const wl_callback_listener LayerFlight::kFrameListener = {
    [](void* data, wl_callback*, uint32_t) { static_cast<LayerFlight*>(data)->FrameDone(); },
};

LayerFlight::LayerFlight(WaylandGlobals& g, const OutputEntry& output, const DesktopModeOptions& options,
                         std::function<void()> closed)
    : g_(g), options_(options), closed_(std::move(closed)), scale_(std::max(output.scale, 1)) {
  SetTarget(this);
  surface_ = wl_compositor_create_surface(g.compositor);
  const bool saver = options.role == DesktopRole::kSaver;
  layer_ = zwlr_layer_shell_v1_get_layer_surface(g.layer_shell, surface_, output.output,
                                                 saver ? ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY : options.layer, "lumox");
  zwlr_layer_surface_v1_add_listener(layer_, &kLayerListener, this);
  zwlr_layer_surface_v1_set_size(layer_, 0, 0);
  zwlr_layer_surface_v1_set_anchor(layer_, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                               ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
  zwlr_layer_surface_v1_set_exclusive_zone(layer_, -1);
  zwlr_layer_surface_v1_set_keyboard_interactivity(
      layer_, saver ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                    : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
  if (!saver) {
    // Clicks go through the wallpaper to the desktop.
    wl_region* nothing = wl_compositor_create_region(g.compositor);
    wl_surface_set_input_region(surface_, nothing);
    wl_region_destroy(nothing);
  }
  if (wl_surface_get_version(surface_) >= WL_SURFACE_SET_BUFFER_SCALE_SINCE_VERSION)
    wl_surface_set_buffer_scale(surface_, scale_);
  else
    scale_ = 1;
  wl_surface_commit(surface_);  // no buffer: asks for the first configure
}

LayerFlight::~LayerFlight() {
  Timer1()->stop();
  if (frame_) wl_callback_destroy(frame_);
  if (context_ != EGL_NO_CONTEXT) {
    eglMakeCurrent(g_.egl, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(g_.egl, context_);
  }
  if (egl_surface_ != EGL_NO_SURFACE) eglDestroySurface(g_.egl, egl_surface_);
  if (window_) wl_egl_window_destroy(window_);
  zwlr_layer_surface_v1_destroy(layer_);
  wl_surface_destroy(surface_);
}

void LayerFlight::Configure(uint32_t serial, uint32_t width, uint32_t height) {
  zwlr_layer_surface_v1_ack_configure(layer_, serial);
  // The compositor gives the output's size; 0 would be its error, and a buffer can't be 0 wide.
  width_ = static_cast<int>(std::max<uint32_t>(width, 1));
  height_ = static_cast<int>(std::max<uint32_t>(height, 1));
  wl_region* all = wl_compositor_create_region(g_.compositor);
  wl_region_add(all, 0, 0, width_, height_);
  wl_surface_set_opaque_region(surface_, all);
  wl_region_destroy(all);
  if (!window_) {
    window_ = wl_egl_window_create(surface_, DeviceWidth(), DeviceHeight());
    egl_surface_ = eglCreateWindowSurface(g_.egl, g_.config, reinterpret_cast<EGLNativeWindowType>(window_), nullptr);
    context_ = eglCreateContext(g_.egl, g_.config, EGL_NO_CONTEXT, nullptr);
    if (egl_surface_ == EGL_NO_SURFACE || context_ == EGL_NO_CONTEXT || !MakeCurrent()) return;
    eglSwapInterval(g_.egl, 0);  // never wait for the screen: the timer and frame callbacks pace
    TakeOff(options_.starting(width_));
    return;
  }
  // The buffer that follows an acknowledged configure is exactly its size.
  wl_egl_window_resize(window_, DeviceWidth(), DeviceHeight(), 0, 0);
  Render();
}

void LayerFlight::Rescale(int scale) {
  scale = std::max(scale, 1);
  if (scale == scale_ || wl_surface_get_version(surface_) < WL_SURFACE_SET_BUFFER_SCALE_SINCE_VERSION) return;
  scale_ = scale;
  wl_surface_set_buffer_scale(surface_, scale_);
  if (!window_) return;
  wl_egl_window_resize(window_, DeviceWidth(), DeviceHeight(), 0, 0);
  Render();
}

bool LayerFlight::MakeCurrent() {
  return context_ != EGL_NO_CONTEXT && eglMakeCurrent(g_.egl, egl_surface_, egl_surface_, context_) == EGL_TRUE;
}

void LayerFlight::Swap() {
  if (!frame_) {
    frame_ = wl_surface_frame(surface_);
    wl_callback_add_listener(frame_, &kFrameListener, this);
  }
  frame_pending_ = true;
  eglSwapBuffers(g_.egl, egl_surface_);
}

void LayerFlight::FrameDone() {
  wl_callback_destroy(frame_);
  frame_ = nullptr;
  frame_pending_ = false;
  Resume();
}

namespace {

const wl_output_listener kOutputListener = {
    [](void*, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*, const char*, int32_t) {},
    [](void*, wl_output*, uint32_t, int32_t, int32_t, int32_t) {},
    [](void* data, wl_output*) {
      auto* o = static_cast<OutputEntry*>(data);
      o->done = true;
      o->host->OutputDescribed(o->name);
    },
    [](void* data, wl_output*, int32_t factor) { static_cast<OutputEntry*>(data)->scale = factor; },
    [](void* data, wl_output*, const char* name) { static_cast<OutputEntry*>(data)->wl_name = name; },
    [](void*, wl_output*, const char*) {},
};

const zxdg_output_v1_listener kXdgOutputListener = {
    [](void*, zxdg_output_v1*, int32_t, int32_t) {},
    [](void*, zxdg_output_v1*, int32_t, int32_t) {},
    [](void* data, zxdg_output_v1*) {
      auto* o = static_cast<OutputEntry*>(data);
      if (o->done) o->host->OutputDescribed(o->name);
    },
    [](void* data, zxdg_output_v1*, const char* name) { static_cast<OutputEntry*>(data)->xdg_name = name; },
    [](void*, zxdg_output_v1*, const char*) {},
};

void WatchNames(WaylandGlobals& g, OutputEntry& o) {
  if (o.xdg || !g.xdg_outputs) return;
  o.xdg = zxdg_output_manager_v1_get_xdg_output(g.xdg_outputs, o.output);
  zxdg_output_v1_add_listener(o.xdg, &kXdgOutputListener, &o);
}

const wl_keyboard_listener kKeyboardListener = {
    [](void*, wl_keyboard*, uint32_t, int32_t fd, uint32_t) { close(fd); },  // no keymap needed
    [](void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {},  // keys already down don't count
    [](void*, wl_keyboard*, uint32_t, wl_surface*) {},
    [](void* data, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t state) {
      if (state == WL_KEYBOARD_KEY_STATE_PRESSED) static_cast<SeatEntry*>(data)->host->UserPressed();
    },
    [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
    [](void*, wl_keyboard*, int32_t, int32_t) {},
};

const wl_pointer_listener kPointerListener = {
    [](void* data, wl_pointer* pointer, uint32_t serial, wl_surface* surface, wl_fixed_t x, wl_fixed_t y) {
      auto* s = static_cast<SeatEntry*>(data);
      wl_pointer_set_cursor(pointer, serial, nullptr, 0, 0);  // no pointer over the saver
      s->pointer_surface = surface;
      s->host->PointerAt(s->host->OutputOf(surface), wl_fixed_to_double(x), wl_fixed_to_double(y));
    },
    [](void* data, wl_pointer*, uint32_t, wl_surface*) { static_cast<SeatEntry*>(data)->pointer_surface = nullptr; },
    [](void* data, wl_pointer*, uint32_t, wl_fixed_t x, wl_fixed_t y) {
      auto* s = static_cast<SeatEntry*>(data);
      if (s->pointer_surface)
        s->host->PointerAt(s->host->OutputOf(s->pointer_surface), wl_fixed_to_double(x), wl_fixed_to_double(y));
    },
    [](void* data, wl_pointer*, uint32_t, uint32_t, uint32_t, uint32_t state) {
      if (state == WL_POINTER_BUTTON_STATE_PRESSED) static_cast<SeatEntry*>(data)->host->UserPressed();
    },
    [](void*, wl_pointer*, uint32_t, uint32_t, wl_fixed_t) {},
    [](void*, wl_pointer*) {},
    [](void*, wl_pointer*, uint32_t) {},
    [](void*, wl_pointer*, uint32_t, uint32_t) {},
    [](void*, wl_pointer*, uint32_t, int32_t) {},
};

const wl_seat_listener kSeatListener = {
    [](void* data, wl_seat* seat, uint32_t caps) {
      auto* s = static_cast<SeatEntry*>(data);
      if ((caps & WL_SEAT_CAPABILITY_KEYBOARD) && !s->keyboard) {
        s->keyboard = wl_seat_get_keyboard(seat);
        wl_keyboard_add_listener(s->keyboard, &kKeyboardListener, s);
      }
      if ((caps & WL_SEAT_CAPABILITY_POINTER) && !s->pointer) {
        s->pointer = wl_seat_get_pointer(seat);
        wl_pointer_add_listener(s->pointer, &kPointerListener, s);
      }
    },
    [](void*, wl_seat*, const char*) {},
};

void DropSeat(SeatEntry& s) {
  if (s.keyboard) wl_keyboard_destroy(s.keyboard);
  if (s.pointer) wl_pointer_destroy(s.pointer);
  wl_seat_destroy(s.seat);
}

void DropOutput(OutputEntry& o) {
  if (o.xdg) zxdg_output_v1_destroy(o.xdg);
  wl_output_destroy(o.output);
}

void Global(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version) {
  WaylandGlobals& g = *static_cast<WaylandGlobals*>(data);
  const auto bind = [&](const wl_interface* type, uint32_t newest) {
    return wl_registry_bind(registry, name, type, std::min(version, newest));
  };
  if (!strcmp(interface, wl_compositor_interface.name) && !g.compositor) {
    g.compositor = static_cast<wl_compositor*>(bind(&wl_compositor_interface, kCompositorVersion));
  } else if (!strcmp(interface, zwlr_layer_shell_v1_interface.name) && !g.layer_shell) {
    g.layer_shell = static_cast<zwlr_layer_shell_v1*>(bind(&zwlr_layer_shell_v1_interface, kLayerShellVersion));
  } else if (!strcmp(interface, zxdg_output_manager_v1_interface.name) && !g.xdg_outputs) {
    g.xdg_outputs = static_cast<zxdg_output_manager_v1*>(bind(&zxdg_output_manager_v1_interface, kXdgOutputVersion));
    for (auto& [id, o] : g.outputs) WatchNames(g, *o);
  } else if (!strcmp(interface, wl_output_interface.name)) {
    auto o = std::make_unique<OutputEntry>();
    o->host = g.host;
    o->name = name;
    o->output = static_cast<wl_output*>(bind(&wl_output_interface, kOutputVersion));
    wl_output_add_listener(o->output, &kOutputListener, o.get());
    WatchNames(g, *o);
    g.outputs[name] = std::move(o);
  } else if (!strcmp(interface, wl_seat_interface.name) && g.saver) {
    auto s = std::make_unique<SeatEntry>();
    s->host = g.host;
    s->name = name;
    s->seat = static_cast<wl_seat*>(bind(&wl_seat_interface, kSeatVersion));
    wl_seat_add_listener(s->seat, &kSeatListener, s.get());
    g.seats[name] = std::move(s);
  }
}

void GlobalRemove(void* data, wl_registry*, uint32_t name) {
  WaylandGlobals& g = *static_cast<WaylandGlobals*>(data);
  if (auto seat = g.seats.find(name); seat != g.seats.end()) {
    DropSeat(*seat->second);
    g.seats.erase(seat);
  }
  if (g.outputs.count(name)) g.host->OutputRemoved(name);
}

const wl_registry_listener kRegistryListener = {Global, GlobalRemove};

// Desktop GL in a window of RGB with a depth buffer, as the display window has.
bool SetUpEgl(WaylandGlobals& g) {
  g.egl = eglGetPlatformDisplay(EGL_PLATFORM_WAYLAND_KHR, g.display, nullptr);
  if (g.egl == EGL_NO_DISPLAY || !eglInitialize(g.egl, nullptr, nullptr)) return false;
  if (!eglBindAPI(EGL_OPENGL_API)) return false;
  const EGLint attributes[] = {EGL_SURFACE_TYPE, EGL_WINDOW_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                               EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_DEPTH_SIZE, 24, EGL_NONE};
  EGLint count = 0;
  return eglChooseConfig(g.egl, attributes, &g.config, 1, &count) && count == 1;
}

}  // namespace

WaylandHost::WaylandHost(DesktopModeOptions options, std::function<void(int, const std::string&)> ended)
    : options_(std::move(options)), ended_(std::move(ended)), globals_(std::make_unique<WaylandGlobals>()),
      plan_(options_.output) {}

WaylandHost::~WaylandHost() {
  WaylandGlobals& g = *globals_;
  QObject::disconnect(g.before_sleep);
  g.notifier.reset();
  flights_.clear();
  if (g.egl != EGL_NO_DISPLAY) eglTerminate(g.egl);
  if (!g.display) return;
  for (auto& [name, seat] : g.seats) DropSeat(*seat);
  for (auto& [name, output] : g.outputs) DropOutput(*output);
  if (g.xdg_outputs) zxdg_output_manager_v1_destroy(g.xdg_outputs);
  if (g.layer_shell) zwlr_layer_shell_v1_destroy(g.layer_shell);
  if (g.compositor) wl_compositor_destroy(g.compositor);
  if (g.registry) wl_registry_destroy(g.registry);
  wl_display_disconnect(g.display);
}

int WaylandHost::Start(std::string& error) {
  WaylandGlobals& g = *globals_;
  g.display = wl_display_connect(nullptr);
  if (!g.display) {
    const char* name = getenv("WAYLAND_DISPLAY");
    error = std::string("the Wayland display '") + (name ? name : "wayland-0") + "' can't be reached.";
    return 1;
  }
  g.host = this;
  g.saver = options_.role == DesktopRole::kSaver;
  g.registry = wl_display_get_registry(g.display);
  wl_registry_add_listener(g.registry, &kRegistryListener, &g);
  // The globals, then each output's description and name.
  if (wl_display_roundtrip(g.display) < 0 || wl_display_roundtrip(g.display) < 0) {
    error = "The Wayland compositor closed the connection.";
    return 1;
  }
  if (!g.compositor || !g.layer_shell) {
    error = "This Wayland compositor has no layer shell (zwlr_layer_shell_v1), so Lumox can't be its wallpaper "
            "or screensaver; GNOME offers no way for a program to be either.";
    return 1;
  }
  if (!options_.output.empty() && !plan_.WantedPresent()) {
    error = NoSuchOutput(options_.output, plan_.Names());
    return 2;
  }
  if (!SetUpEgl(g)) {
    error = "Can't set up OpenGL through EGL on this Wayland display.";
    return 1;
  }
  // Outputs described during the roundtrips waited for EGL; they fly now.
  Carry({});
  g.notifier = std::make_unique<QSocketNotifier>(wl_display_get_fd(g.display), QSocketNotifier::Read);
  QObject::connect(g.notifier.get(), &QSocketNotifier::activated, this, [this] { ReadEvents(); });
  // Whatever a pass of the loop sent (frames, acknowledgements) leaves before the loop sleeps.
  g.before_sleep = QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                                    this, [this] { Pump(); });
  Pump();
  return 0;
}

void WaylandHost::Pump() {
  wl_display* d = globals_->display;
  if (wl_display_dispatch_pending(d) < 0 || (wl_display_flush(d) < 0 && errno != EAGAIN))
    End(1, "The Wayland compositor has gone away.");
}

void WaylandHost::ReadEvents() {
  wl_display* d = globals_->display;
  // Events already queued (read by EGL, say) are dispatched first; prepare_read says so.
  if (wl_display_prepare_read(d) == 0 && wl_display_read_events(d) < 0) {
    End(1, "The Wayland compositor has gone away.");
    return;
  }
  Pump();
}

void WaylandHost::End(int status, const std::string& line) {
  if (ended_once_) return;
  ended_once_ = true;
  if (globals_->notifier) globals_->notifier->setEnabled(false);
  ended_(status, line);
}

void WaylandHost::OutputDescribed(uint32_t output) {
  WaylandGlobals& g = *globals_;
  const auto found = g.outputs.find(output);
  if (found == g.outputs.end()) return;
  const OutputEntry& o = *found->second;
  plan_.Added(output);
  Carry(plan_.Described(output, o.Name()));
  if (const auto flight = flights_.find(output); flight != flights_.end()) flight->second->Rescale(o.scale);
}

void WaylandHost::OutputRemoved(uint32_t output) {
  Carry(plan_.Removed(output));
  if (const auto found = globals_->outputs.find(output); found != globals_->outputs.end()) {
    DropOutput(*found->second);
    globals_->outputs.erase(found);
  }
}

void WaylandHost::SurfaceClosed(uint32_t output) {
  // Not from inside the closed surface's own event: its flight goes once that has returned.
  QMetaObject::invokeMethod(this, [this, output] { Carry(plan_.Closed(output)); }, Qt::QueuedConnection);
}

void WaylandHost::Carry(const std::vector<OutputChange>& changes) {
  for (const OutputChange& change : changes)
    if (change.kind == OutputChange::kLand) flights_.erase(change.output);
  // Every output the plan flies on and has no flight yet gets one, once EGL is there to draw.
  if (globals_->egl == EGL_NO_DISPLAY) return;
  for (const auto& [output, entry] : globals_->outputs)
    if (plan_.Flying(output) && !flights_.count(output))
      flights_[output] = std::make_unique<LayerFlight>(*globals_, *entry, options_,
                                                       [this, output = output] { SurfaceClosed(output); });
}

uint32_t WaylandHost::OutputOf(const void* surface) const {
  for (const auto& [output, flight] : flights_)
    if (flight->WlSurface() == surface) return output;
  return 0;
}

std::vector<uint32_t> WaylandHost::FlyingOutputs() const {
  std::vector<uint32_t> outputs;
  for (const auto& [output, flight] : flights_) outputs.push_back(output);
  return outputs;
}

const Flight* WaylandHost::FlightOn(uint32_t output) const {
  const auto found = flights_.find(output);
  return found == flights_.end() ? nullptr : found->second.get();
}

void WaylandHost::PointerAt(uint32_t output, double x, double y) {
  if (wake_.Pointer(output, x, y)) UserPressed();
}

void WaylandHost::UserPressed() {
  if (options_.role == DesktopRole::kSaver) End(0, "");
}

}  // namespace lumox
