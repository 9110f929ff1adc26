// One output's layer surface with an EGL window and context of its own, so each output has its
// own camera. It is drawn on only once configured, and only when the compositor wants a frame: a
// covered surface gets no frame callbacks, and its flight pauses until one comes. Where the
// compositor offers a fractional scale it draws at the output's own pixels through a viewport;
// elsewhere at the output's whole buffer scale.
#include <wayland-egl.h>

#include <algorithm>

#include "desktop/wayland/surface_scale.h"
#include "desktop/wayland/wayland_state.h"
#include "fractional-scale-v1-client-protocol.h"
#include "viewporter-client-protocol.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"

namespace lumox {

class LayerSurface : public DrawTarget {
 public:
  LayerSurface(WaylandState& s, const OutputEntry& output);
  ~LayerSurface() override;

  bool MakeCurrent() override;
  int DeviceWidth() const override { return BufferLength(width_, scale_); }
  int DeviceHeight() const override { return BufferLength(height_, scale_); }
  double PixelRatio() const override { return ScaleRatio(scale_); }
  void Swap() override;
  bool TakesFrames() const override { return !frame_; }

  wl_surface* Surface() const { return surface_; }
  // The output's whole scale, which a surface with a fractional one leaves aside.
  void Rescale(int scale);

 private:
  static const zwlr_layer_surface_v1_listener kLayerListener;
  static const wl_callback_listener kFrameListener;
  static const wp_fractional_scale_v1_listener kScaleListener;
  void Configure(uint32_t serial, uint32_t width, uint32_t height);
  void SetScale(uint32_t scale);
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
  wp_viewport* viewport_ = nullptr;
  wp_fractional_scale_v1* fraction_ = nullptr;
  int width_ = 0, height_ = 0;
  uint32_t scale_ = kScaleOne;  // in 120ths
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

const wp_fractional_scale_v1_listener LayerSurface::kScaleListener = {
    [](void* data, wp_fractional_scale_v1*, uint32_t scale) {
      if (scale > 0) static_cast<LayerSurface*>(data)->SetScale(scale);  // 0 would be the compositor's slip
    },
};

LayerSurface::LayerSurface(WaylandState& s, const OutputEntry& output)
    : s_(s), output_(output.name), name_(output.Name()) {
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
  if (s.viewporter && s.fractional_scales) {
    // The buffer scale stays 1; the viewport shows the buffer at the surface's size. Until the
    // compositor says its scale, scale 1, which wastes no pixels on a whole scale rounded up.
    viewport_ = wp_viewporter_get_viewport(s.viewporter, surface_);
    fraction_ = wp_fractional_scale_manager_v1_get_fractional_scale(s.fractional_scales, surface_);
    wp_fractional_scale_v1_add_listener(fraction_, &kScaleListener, this);
  } else {
    Rescale(output.scale);
  }
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
  if (fraction_) wp_fractional_scale_v1_destroy(fraction_);
  if (viewport_) wp_viewport_destroy(viewport_);
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
  if (viewport_) wp_viewport_set_destination(viewport_, width_, height_);
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
  if (fraction_ || wl_surface_get_version(surface_) < WL_SURFACE_SET_BUFFER_SCALE_SINCE_VERSION) return;
  scale = std::max(scale, 1);
  if (WholeScale(scale) == scale_) return;
  wl_surface_set_buffer_scale(surface_, scale);
  SetScale(WholeScale(scale));
}

void LayerSurface::SetScale(uint32_t scale) {
  if (scale == scale_) return;
  scale_ = scale;
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
