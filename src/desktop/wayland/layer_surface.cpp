// One output's layer surface with an EGL window and context of its own, so each output has its
// own camera. It is drawn on only once configured, and only when the compositor wants a frame: a
// covered surface gets no frame callbacks, and its flight pauses until one comes.
#include <wayland-egl.h>

#include <algorithm>

#include "desktop/wayland/wayland_state.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"

namespace lumox {

class LayerSurface : public DrawTarget {
 public:
  LayerSurface(WaylandState& s, const OutputEntry& output);
  ~LayerSurface() override;

  bool MakeCurrent() override;
  int DeviceWidth() const override { return width_ * scale_; }
  int DeviceHeight() const override { return height_ * scale_; }
  double PixelRatio() const override { return scale_; }
  void Swap() override;
  bool TakesFrames() const override { return !frame_; }

  wl_surface* Surface() const { return surface_; }
  void Rescale(int scale);

 private:
  static const zwlr_layer_surface_v1_listener kLayerListener;
  static const wl_callback_listener kFrameListener;
  void Configure(uint32_t serial, uint32_t width, uint32_t height);
  bool SetUpGl();
  void FrameDone();

  WaylandState& s_;
  uint32_t output_;
  std::string name_;
  wl_surface* surface_ = nullptr;
  zwlr_layer_surface_v1* layer_ = nullptr;
  wl_egl_window* window_ = nullptr;
  EGLSurface egl_surface_ = EGL_NO_SURFACE;
  EGLContext context_ = EGL_NO_CONTEXT;
  wl_callback* frame_ = nullptr;
  int width_ = 0, height_ = 0, scale_ = 1;
};

const zwlr_layer_surface_v1_listener LayerSurface::kLayerListener = {
    [](void* data, zwlr_layer_surface_v1*, uint32_t serial, uint32_t width, uint32_t height) {
      static_cast<LayerSurface*>(data)->Configure(serial, width, height);
    },
    [](void* data, zwlr_layer_surface_v1*) {
      auto* layer = static_cast<LayerSurface*>(data);
      layer->s_.sink.SurfaceClosed(layer->output_);
    },
};

const wl_callback_listener LayerSurface::kFrameListener = {
    [](void* data, wl_callback*, uint32_t) { static_cast<LayerSurface*>(data)->FrameDone(); },
};

LayerSurface::LayerSurface(WaylandState& s, const OutputEntry& output)
    : s_(s), output_(output.name), name_(output.Name()), scale_(std::max(output.scale, 1)) {
  s.layers[output_] = this;
  surface_ = wl_compositor_create_surface(s.compositor);
  const bool saver = s.options.role == DesktopRole::kSaver;
  layer_ = zwlr_layer_shell_v1_get_layer_surface(
      s.layer_shell, surface_, output.output,
      saver ? ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY : static_cast<uint32_t>(s.options.layer), "lumox");
  zwlr_layer_surface_v1_add_listener(layer_, &kLayerListener, this);
  zwlr_layer_surface_v1_set_size(layer_, 0, 0);
  zwlr_layer_surface_v1_set_anchor(layer_, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                               ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
  // The whole output, under panels too: a zone of 0 would leave their strips out.
  zwlr_layer_surface_v1_set_exclusive_zone(layer_, -1);
  zwlr_layer_surface_v1_set_keyboard_interactivity(
      layer_, saver ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                    : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
  if (!saver) {
    // Clicks go through the wallpaper to the desktop.
    wl_region* nothing = wl_compositor_create_region(s.compositor);
    wl_surface_set_input_region(surface_, nothing);
    wl_region_destroy(nothing);
  }
  if (wl_surface_get_version(surface_) >= WL_SURFACE_SET_BUFFER_SCALE_SINCE_VERSION)
    wl_surface_set_buffer_scale(surface_, scale_);
  else
    scale_ = 1;
  wl_surface_commit(surface_);  // no buffer: asks for the first configure
}

LayerSurface::~LayerSurface() {
  s_.layers.erase(output_);
  if (frame_) wl_callback_destroy(frame_);
  if (context_ != EGL_NO_CONTEXT) {
    eglMakeCurrent(s_.egl, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(s_.egl, context_);
  }
  if (egl_surface_ != EGL_NO_SURFACE) eglDestroySurface(s_.egl, egl_surface_);
  if (window_) wl_egl_window_destroy(window_);
  zwlr_layer_surface_v1_destroy(layer_);
  wl_surface_destroy(surface_);
}

bool LayerSurface::SetUpGl() {
  window_ = wl_egl_window_create(surface_, DeviceWidth(), DeviceHeight());
  if (!window_) return false;
  egl_surface_ = eglCreateWindowSurface(s_.egl, s_.config, reinterpret_cast<EGLNativeWindowType>(window_), nullptr);
  context_ = eglCreateContext(s_.egl, s_.config, EGL_NO_CONTEXT, nullptr);
  if (egl_surface_ == EGL_NO_SURFACE || context_ == EGL_NO_CONTEXT || !MakeCurrent()) return false;
  eglSwapInterval(s_.egl, 0);  // never wait for the screen: the timer and frame callbacks pace
  return true;
}

void LayerSurface::Configure(uint32_t serial, uint32_t width, uint32_t height) {
  zwlr_layer_surface_v1_ack_configure(layer_, serial);
  // The compositor gives the output's size; 0 would be its error, and a buffer can't be 0 wide.
  width_ = static_cast<int>(std::max<uint32_t>(width, 1));
  height_ = static_cast<int>(std::max<uint32_t>(height, 1));
  wl_region* all = wl_compositor_create_region(s_.compositor);
  wl_region_add(all, 0, 0, width_, height_);
  wl_surface_set_opaque_region(surface_, all);
  wl_region_destroy(all);
  if (!window_) {
    if (SetUpGl())
      s_.sink.SurfaceReady(output_, width_);
    else
      s_.sink.SurfaceFailed(desktop_line::SurfaceFailed(name_));
    return;
  }
  // The buffer that follows an acknowledged configure is exactly its size.
  wl_egl_window_resize(window_, DeviceWidth(), DeviceHeight(), 0, 0);
  s_.sink.SurfaceRedraw(output_);
}

void LayerSurface::Rescale(int scale) {
  scale = std::max(scale, 1);
  if (scale == scale_ || wl_surface_get_version(surface_) < WL_SURFACE_SET_BUFFER_SCALE_SINCE_VERSION) return;
  scale_ = scale;
  wl_surface_set_buffer_scale(surface_, scale_);
  if (!window_) return;
  wl_egl_window_resize(window_, DeviceWidth(), DeviceHeight(), 0, 0);
  s_.sink.SurfaceRedraw(output_);
}

bool LayerSurface::MakeCurrent() {
  return context_ != EGL_NO_CONTEXT && eglMakeCurrent(s_.egl, egl_surface_, egl_surface_, context_) == EGL_TRUE;
}

void LayerSurface::Swap() {
  if (!frame_) {
    frame_ = wl_surface_frame(surface_);
    wl_callback_add_listener(frame_, &kFrameListener, this);
  }
  eglSwapBuffers(s_.egl, egl_surface_);
}

void LayerSurface::FrameDone() {
  wl_callback_destroy(frame_);
  frame_ = nullptr;
  s_.sink.SurfaceCovered(output_, false);
}

std::unique_ptr<DrawTarget> MakeLayerSurface(WaylandState& s, const OutputEntry& output) {
  return std::make_unique<LayerSurface>(s, output);
}

void RescaleLayerSurface(WaylandState& s, uint32_t output, int scale) {
  if (const auto found = s.layers.find(output); found != s.layers.end()) found->second->Rescale(scale);
}

uint32_t OutputOfSurface(const WaylandState& s, const wl_surface* surface) {
  for (const auto& [output, layer] : s.layers)
    if (layer->Surface() == surface) return output;
  return 0;
}

}  // namespace lumox
