#include "desktop/x11/x11_backend.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>

#include "desktop/x11/x11_windows.h"
#include "flight/opengl_surface.h"

namespace lumox {

// One monitor's surface. The saver's is a window of its own over the whole monitor, kept from
// the window manager; every key, button, wheel and move on it is the core's to judge. The
// wallpaper's is the monitor's part of the root window, below every other window.
class X11Surface : public OpenGLSurface {
 public:
  X11Surface(X11Backend& backend, uint32_t output, QScreen* screen, bool saver, uint32_t root)
      : OpenGLSurface([this] { Exposed(); }), backend_(backend), output_(output), saver_(saver) {
    backend_.Register(output_, this);
    if (saver) {
      setFlag(Qt::WindowTransparentForInput, false);
      setFlags(Qt::Window | Qt::X11BypassWindowManagerHint | Qt::FramelessWindowHint);
      setScreen(screen);
      setGeometry(screen->geometry());
      setCursor(Qt::BlankCursor);
    } else {
      host_.reset(QWindow::fromWinId(root));
      setParent(host_.get());
      setFlag(Qt::BypassWindowManagerHint);
      setGeometry(screen->geometry());  // the root window's part that the monitor shows
    }
    show();
    if (saver)
      raise();
    else
      lower();
    width_ = screen->geometry().width();
  }
  ~X11Surface() override {
    backend_.Unregister(output_);
    // Out of the root's stand-in, which would delete its children with it.
    destroy();
    setParent(nullptr);
  }

  bool TakesFrames() const override { return !covered_; }
  uint32_t Output() const { return output_; }
  void SetCovered(bool covered) {
    if (covered == covered_) return;
    covered_ = covered;
    backend_.Sink().SurfaceCovered(output_, covered);
  }

 protected:
  bool event(QEvent* event) override {
    if (!saver_) return OpenGLSurface::event(event);
    switch (event->type()) {
      case QEvent::KeyPress:
        backend_.Sink().UserInput({InputKind::kKey});
        return true;
      case QEvent::MouseButtonPress:
        backend_.Sink().UserInput({InputKind::kButton});
        return true;
      case QEvent::Wheel:
        backend_.Sink().UserInput({InputKind::kWheel});
        return true;
      case QEvent::MouseMove: {
        const QPointF at = static_cast<QMouseEvent*>(event)->globalPosition();
        backend_.Sink().UserInput({InputKind::kMotion, 0, at.x(), at.y()});
        return true;
      }
      default:
        return OpenGLSurface::event(event);
    }
  }

 private:
  // The first exposure is the flight's start; later ones are repaints.
  void Exposed() {
    if (!ready_) {
      ready_ = true;
      backend_.Sink().SurfaceReady(output_, width_);
    } else {
      backend_.Sink().SurfaceRedraw(output_);
    }
  }

  X11Backend& backend_;
  uint32_t output_;
  bool saver_;
  bool ready_ = false, covered_ = false;
  int width_ = 0;
  std::unique_ptr<QWindow> host_;
};

X11Backend::X11Backend(DesktopSink& sink, const DesktopModeOptions& options)
    : sink_(sink), options_(options), screens_(sink) {
  cover_check_.setSingleShot(true);
  cover_check_.setInterval(100);
  connect(&cover_check_, &QTimer::timeout, this, &X11Backend::CheckCovers);
}

X11Backend::~X11Backend() {
  if (QCoreApplication::instance()) QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool X11Backend::Connect(std::string&) {
  root_ = X11VirtualRoot();
  WatchChildren(root_);
  QCoreApplication::instance()->installNativeEventFilter(this);
  screens_.Watch();
  // The pointer's place at the start is where a move is measured from.
  sink_.UserInput({InputKind::kMotion, 0, QCursor::pos().x() * 1.0, QCursor::pos().y() * 1.0});
  return true;
}

std::unique_ptr<DrawTarget> X11Backend::MakeSurface(uint32_t output) {
  QScreen* screen = screens_.Screen(output);
  if (!screen) return nullptr;
  return std::make_unique<X11Surface>(*this, output, screen, options_.role == DesktopRole::kSaver, root_);
}

bool X11Backend::Grab(uint32_t output) {
  const auto found = surfaces_.find(output);
  if (found == surfaces_.end()) return false;
  // Both succeed once the window is viewable and no other program holds them.
  const bool keyboard = found->second->setKeyboardGrabEnabled(true);
  const bool pointer = found->second->setMouseGrabEnabled(true);
  return keyboard && pointer;
}

void X11Backend::CheckCovers() {
  const std::vector<StackedWindow> stack = X11ViewableChildren(root_);
  for (const auto& [output, surface] : surfaces_) surface->SetCovered(Hidden(stack, surface->winId()));
}

void X11Backend::RaiseOverlappedSavers() {
  const std::vector<StackedWindow> stack = X11ViewableChildren(root_);
  std::vector<uint32_t> ours;
  for (const auto& [output, surface] : surfaces_) ours.push_back(static_cast<uint32_t>(surface->winId()));
  for (const auto& [output, surface] : surfaces_)
    if (Overlapped(stack, static_cast<uint32_t>(surface->winId()), ours)) surface->raise();
}

bool X11Backend::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
  if (type != "xcb_generic_event_t") return false;
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  switch (event->response_type & 0x7f) {
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY: {  // moved, resized or restacked; a window destroyed is unmapped first
      // Each of these starts as a map does: the parent whose children changed, then the child.
      const auto* change = static_cast<const xcb_map_notify_event_t*>(message);
      if (change->event != root_ || root_ == 0) return false;
      // Another program's window mapped or raised over the saver (a notification, a tooltip): the
      // saver goes back on top at once. Its own changes are looked at too, as Qt passes on only the
      // last of a run of configures, which may be the saver's own raise after another's.
      if (options_.role == DesktopRole::kSaver)
        RaiseOverlappedSavers();
      else if (!cover_check_.isActive())
        cover_check_.start();
      return false;
    }
  }
  return false;
}

}  // namespace lumox
