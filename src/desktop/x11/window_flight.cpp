#include "desktop/x11/window_flight.h"

#include <cmath>

namespace lumox {

WindowFlight::WindowFlight(uint32_t window, StartingSettings starting, std::function<void()> ended, bool desktop)
    : window_(window),
      starting_(std::move(starting)),
      ended_(std::move(ended)),
      desktop_(desktop),
      // The watcher's word comes only once the window has gone, and a frame drawn in between
      // crashes Mesa's software renderer: the server is asked before each use of the window.
      surface_(std::make_unique<OpenGLSurface>([this] { flight_.Event_Paint(); },
                                               [this] { return !gone_ && X11WindowSize(window_); })) {
  flight_.SetTarget(surface_.get());
}

WindowFlight::~WindowFlight() {
  flight_.Timer1()->stop();
  // With the host window its drawable is gone too, and Mesa's software renderer may crash
  // flushing to it as the context goes: the surface (and the host that would delete it as its
  // child) are left to the end of the process then.
  if (HostGone()) {
    (void)surface_.release();
    (void)host_.release();
  }
  surface_.reset();  // before the host it is a child of
}

bool WindowFlight::HostGone() const { return host_ && (gone_ || !X11WindowSize(window_)); }

bool WindowFlight::Open() {
  // Watched before its size is asked, so no resize falls between the two.
  watcher_ = std::make_unique<X11WindowWatcher>(window_, [this](QSize size) { Fit(size); }, [this] {
    gone_ = true;
    flight_.Timer1()->stop();
    ended_();
  });
  const std::optional<QSize> size = X11WindowSize(window_);
  if (!size) return false;
  host_.reset(QWindow::fromWinId(window_));
  surface_->setParent(host_.get());
  // In the root window the surface is a top-level window: kept from the window manager and below
  // every other window, as a picture on the desktop is.
  surface_->setFlag(Qt::BypassWindowManagerHint);
  Fit(*size);
  surface_->show();
  // A window given to draw into may have children of its own (a toolkit's, a preview's): the
  // flight goes over them.
  if (desktop_)
    surface_->lower();
  else
    surface_->raise();
  flight_.TakeOff(starting_(surface_->width()));
  return true;
}

void WindowFlight::Fit(QSize device_size) {
  // The window's size is in device pixels; the surface's geometry is in logical ones.
  const qreal ratio = surface_->devicePixelRatio();
  surface_->setGeometry(0, 0, static_cast<int>(std::lround(device_size.width() / ratio)),
                        static_cast<int>(std::lround(device_size.height() / ratio)));
}

}  // namespace lumox
