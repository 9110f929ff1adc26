#include "desktop/wayland/wayland_backend.h"

#include <QAbstractEventDispatcher>
#include <cerrno>
#include <cstdlib>

#include "desktop/wayland/wayland_state.h"

namespace lumox {

namespace {
constexpr char kCompositor[] = "the Wayland compositor";

// The display libwayland was asked to connect to, as a sentence names it.
std::string DisplayName() {
  if (const char* socket = getenv("WAYLAND_SOCKET"); socket && *socket)
    return std::string("the Wayland connection handed down in WAYLAND_SOCKET (") + socket + ")";
  const char* name = getenv("WAYLAND_DISPLAY");
  return std::string("the Wayland display '") + (name && *name ? name : "wayland-0") + "'";
}
}  // namespace

WaylandBackend::WaylandBackend(DesktopSink& sink, const DesktopModeOptions& options)
    : state_(std::make_unique<WaylandState>(WaylandState{sink, options})) {}

WaylandBackend::~WaylandBackend() {
  WaylandState& s = *state_;
  QObject::disconnect(s.before_sleep);
  s.reader.reset();
  s.writer.reset();
  if (s.egl != EGL_NO_DISPLAY) eglTerminate(s.egl);
  if (!s.display) return;
  DropGlobals(s);
  wl_display_disconnect(s.display);
}

bool WaylandBackend::Connect(std::string& error) {
  WaylandState& s = *state_;
  s.display = wl_display_connect(nullptr);
  if (!s.display) {
    error = desktop_line::Unreachable(DisplayName());
    return false;
  }
  ListenToRegistry(s);
  // The globals, then each output's description and name.
  if (wl_display_roundtrip(s.display) < 0 || wl_display_roundtrip(s.display) < 0) {
    error = desktop_line::DisplayGone(kCompositor);
    return false;
  }
  if (!s.compositor || !s.layer_shell) {
    const char* desktop = getenv("XDG_CURRENT_DESKTOP");
    error = desktop_line::NoLayerShell(desktop && std::string(desktop).find("GNOME") != std::string::npos);
    return false;
  }
  if (!SetUpEgl(s)) {
    error = desktop_line::NoEgl();
    return false;
  }
  s.reader = std::make_unique<QSocketNotifier>(wl_display_get_fd(s.display), QSocketNotifier::Read);
  QObject::connect(s.reader.get(), &QSocketNotifier::activated, this, [this] { ReadEvents(); });
  // A full socket leaves the rest of a flush for when it can take more.
  s.writer = std::make_unique<QSocketNotifier>(wl_display_get_fd(s.display), QSocketNotifier::Write);
  s.writer->setEnabled(false);
  QObject::connect(s.writer.get(), &QSocketNotifier::activated, this, [this] { Pump(); });
  // Whatever a pass of the loop sent (frames, acknowledgements) leaves before the loop sleeps.
  s.before_sleep = QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                                    this, [this] { Pump(); });
  return true;
}

void WaylandBackend::Pump() {
  WaylandState& s = *state_;
  if (s.lost) return;
  bool broken = wl_display_dispatch_pending(s.display) < 0;
  if (!broken) {
    const int flushed = wl_display_flush(s.display);
    broken = flushed < 0 && errno != EAGAIN;
    s.writer->setEnabled(flushed < 0 && !broken);
  }
  if (!broken) return;
  s.lost = true;
  s.reader->setEnabled(false);
  s.writer->setEnabled(false);
  s.sink.ConnectionLost(kCompositor);
}

void WaylandBackend::ReadEvents() {
  WaylandState& s = *state_;
  if (s.lost) return;
  // Events already queued (read by EGL, say) are dispatched first; prepare_read says so.
  if (wl_display_prepare_read(s.display) == 0 && wl_display_read_events(s.display) < 0) {
    s.lost = true;
    s.reader->setEnabled(false);
    s.sink.ConnectionLost(kCompositor);
    return;
  }
  Pump();
}

std::optional<ViewRect> WaylandBackend::Place(uint32_t output) const {
  const auto found = state_->outputs.find(output);
  if (found == state_->outputs.end()) return std::nullopt;
  return found->second->Place();
}

std::unique_ptr<DrawTarget> WaylandBackend::MakeSurface(uint32_t output) {
  const auto found = state_->outputs.find(output);
  if (found == state_->outputs.end()) return nullptr;
  return MakeLayerSurface(*state_, *found->second);
}

}  // namespace lumox
