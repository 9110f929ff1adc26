#include "desktop/x11/window_flight.h"

#include <cmath>

namespace lumox {

EmbeddedFlight::EmbeddedFlight(uint32_t window, StartingSettings starting, std::function<void()> ended, bool desktop,
                               QRect area)
    : window_(window),
      area_(area),
      starting_(std::move(starting)),
      ended_(std::move(ended)),
      desktop_(desktop),
      surface_(std::make_unique<OpenGLSurface>([this] { Event_Paint(); },
                                               [this] { return X11WindowSize(window_).has_value(); })) {
  SetTarget(surface_.get());
}

EmbeddedFlight::~EmbeddedFlight() {
  Timer1()->stop();
  // With the host window its drawable is gone too, and Mesa's software renderer may crash
  // flushing to it as the context goes: the surface (and the host that would delete it as its
  // child) are left to the end of the process then.
  if (!X11WindowSize(window_)) {
    (void)surface_.release();
    (void)host_.release();
  }
  surface_.reset();  // before the host it is a child of
}

bool EmbeddedFlight::Open() {
  // Watched before its size is asked, so no resize falls between the two.
  watcher_ = std::make_unique<X11WindowWatcher>(window_, [this](QSize size) { Fit(size); }, [this] {
    Timer1()->stop();
    ended_();
  });
  const std::optional<QSize> size = X11WindowSize(window_);
  if (!size) return false;
  host_.reset(QWindow::fromWinId(window_));
  Surface()->setParent(host_.get());
  // In the root window the surface is a top-level window: kept from the window manager and below
  // every other window, as a picture on the desktop is.
  Surface()->setFlag(Qt::BypassWindowManagerHint);
  Fit(*size);
  Surface()->show();
  // A window given to draw into may have children of its own (a toolkit's, a preview's): the
  // flight goes over them.
  if (desktop_)
    Surface()->lower();
  else
    Surface()->raise();
  TakeOff(starting_(Surface()->width()));
  return true;
}

void EmbeddedFlight::Fit(QSize device_size) {
  if (!area_.isEmpty()) {
    surface_->setGeometry(area_);
    return;
  }
  // The window's size is in device pixels; the surface's geometry is in logical ones.
  const qreal ratio = Surface()->devicePixelRatio();
  Surface()->setGeometry(0, 0, static_cast<int>(std::lround(device_size.width() / ratio)),
                         static_cast<int>(std::lround(device_size.height() / ratio)));
}

}  // namespace lumox
