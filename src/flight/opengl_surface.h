#pragma once
#include <QOpenGLContext>
#include <QWindow>
#include <functional>

#include "flight/draw_target.h"

namespace lumox {

// The GL surface in Qt's windows: a native window with its own compatibility context, drawn
// straight to the screen rather than through an offscreen buffer that Qt composites. The context
// lives as long as the window, so the modelview matrix (the camera) carries over from frame to
// frame. Its host makes it and hands it to the flight as the flight's target.
class OpenGLSurface : public QWindow, public DrawTarget {
  Q_OBJECT
 public:
  // `exposed` runs each time the window comes on screen or needs its picture again. `alive`, if
  // given, is asked before each use of the window: one that lives in another program's window can
  // be destroyed with it at any moment, and Mesa's software renderer crashes drawing to it then.
  explicit OpenGLSurface(std::function<void()> exposed, std::function<bool()> alive = {});

  bool MakeCurrent() override;
  int DeviceWidth() const override;
  int DeviceHeight() const override;
  double PixelRatio() const override { return devicePixelRatio(); }
  void Swap() override;

 protected:
  void exposeEvent(QExposeEvent* event) override;

 private:
  QOpenGLContext context_;
  std::function<void()> exposed_;
  std::function<bool()> alive_;
};

}  // namespace lumox
