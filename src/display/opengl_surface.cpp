#include "display/opengl_surface.h"

#include <GL/gl.h>

#include <QSurfaceFormat>

namespace lumox {

namespace {
QSurfaceFormat SurfaceFormat() {
  QSurfaceFormat format;
  format.setRenderableType(QSurfaceFormat::OpenGL);
  format.setProfile(QSurfaceFormat::CompatibilityProfile);
  format.setVersion(2, 1);
  format.setRedBufferSize(8);
  format.setGreenBufferSize(8);
  format.setBlueBufferSize(8);
  format.setDepthBufferSize(24);
  format.setSwapBehavior(QSurfaceFormat::DoubleBuffer);
  format.setSwapInterval(0);  // Timer1 paces the frames, not the display's refresh
  return format;
}
}  // namespace

OpenGLSurface::OpenGLSurface(RenderEvent render, PaintEvent paint)
    : render_(std::move(render)), paint_(std::move(paint)) {
  setSurfaceType(QSurface::OpenGLSurface);
  // Keys and the mouse belong to the window that holds the surface.
  setFlag(Qt::WindowTransparentForInput);
  setFormat(SurfaceFormat());
  context_.setFormat(SurfaceFormat());
  context_.create();
}

bool OpenGLSurface::Begin() {
  if (!handle()) create();
  if (!context_.makeCurrent(this)) return false;
  const qreal ratio = devicePixelRatio();
  glViewport(0, 0, static_cast<GLsizei>(width() * ratio), static_cast<GLsizei>(height() * ratio));
  return true;
}

void OpenGLSurface::Render() {
  if (!Begin()) return;
  render_();
  if (isExposed()) context_.swapBuffers(this);
}

QImage OpenGLSurface::RenderAndCapture() {
  if (!Begin()) return {};
  render_();
  const qreal ratio = devicePixelRatio();
  QImage image(static_cast<int>(width() * ratio), static_cast<int>(height() * ratio), QImage::Format_RGBA8888);
  glReadBuffer(GL_BACK);
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glReadPixels(0, 0, image.width(), image.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
  if (isExposed()) context_.swapBuffers(this);
  return image.mirrored();
}

void OpenGLSurface::exposeEvent(QExposeEvent*) {
  if (isExposed()) paint_();
}

}  // namespace lumox
