#pragma once
#include <QImage>
#include <QOpenGLContext>
#include <QWindow>
#include <functional>

namespace lumox {

// The GL surface: a native child window with its own compatibility context, drawn straight to
// the screen rather than through an offscreen buffer that Qt composites. The context lives as
// long as the window, so the modelview matrix (the camera) carries over from frame to frame.
class OpenGLSurface : public QWindow {
  Q_OBJECT
 public:
  using RenderEvent = std::function<bool()>;
  using PaintEvent = std::function<void()>;
  OpenGLSurface(RenderEvent render, PaintEvent paint);

  // One frame, synchronously: make the context current, raise the render event, swap.
  void Render();
  // The same, reading the finished frame back before the swap (for checks of what was drawn).
  QImage RenderAndCapture();

 protected:
  void exposeEvent(QExposeEvent* event) override;

 private:
  bool Begin();
  QOpenGLContext context_;
  RenderEvent render_;
  PaintEvent paint_;
};

}  // namespace lumox
