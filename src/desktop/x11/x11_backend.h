#pragma once
// The desktop modes on X11, one surface on each monitor: the wallpaper in the root window, below
// every window; the saver in a window of its own above every window, with the keyboard and the
// pointer taken and the pointer hidden.
#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QTimer>
#include <map>

#include "desktop/backend.h"
#include "desktop/qt_screens.h"

namespace lumox {

class X11Surface;

class X11Backend : public QObject, public DesktopBackend, public QAbstractNativeEventFilter {
 public:
  X11Backend(DesktopSink& sink, const DesktopModeOptions& options);
  ~X11Backend() override;

  bool Connect(std::string& error) override;
  std::unique_ptr<DrawTarget> MakeSurface(uint32_t output) override;
  bool Grab(uint32_t output) override;
  std::optional<ViewRect> Place(uint32_t output) const override { return screens_.Place(output); }

  // The desktop's windows coming, going and moving: a covered wallpaper pauses, a covered saver
  // goes back on top, as it does over any window mapped after it.
  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

  // The surfaces tell their coming and going.
  void Register(uint32_t output, X11Surface* surface) { surfaces_[output] = surface; }
  void Unregister(uint32_t output) { surfaces_.erase(output); }
  DesktopSink& Sink() const { return sink_; }

 private:
  // Each wallpaper surface is covered when the windows above it hide all of it.
  void CheckCovers();
  // Each saver surface with another program's window over any of it is raised.
  void RaiseOverlappedSavers();
  DesktopSink& sink_;
  const DesktopModeOptions& options_;
  QtScreens screens_;  // the RandR monitors, as Qt has them
  std::map<uint32_t, X11Surface*> surfaces_;
  uint32_t root_ = 0;  // the desktop's window, whose children are the top-level windows
  QTimer cover_check_;  // a window dragged moves many times a frame: one look for them all
};

}  // namespace lumox
