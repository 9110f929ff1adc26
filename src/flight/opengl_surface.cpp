#include "flight/opengl_surface.h"

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

OpenGLSurface::OpenGLSurface(std::function<void()> exposed, std::function<bool()> alive)
    : exposed_(std::move(exposed)), alive_(std::move(alive)) {
  setSurfaceType(QSurface::OpenGLSurface);
  // Keys and the mouse belong to the window that holds the surface.
  setFlag(Qt::WindowTransparentForInput);
  setFormat(SurfaceFormat());
  context_.setFormat(SurfaceFormat());
  context_.create();
}

bool OpenGLSurface::MakeCurrent() {
  if (alive_ && !alive_()) return false;
  if (!handle()) create();
  return context_.makeCurrent(this);
}

int OpenGLSurface::DeviceWidth() const { return static_cast<int>(width() * devicePixelRatio()); }
int OpenGLSurface::DeviceHeight() const { return static_cast<int>(height() * devicePixelRatio()); }

void OpenGLSurface::Swap() {
  if (isExposed() && (!alive_ || alive_())) context_.swapBuffers(this);
}

void OpenGLSurface::exposeEvent(QExposeEvent*) {
  if (isExposed()) exposed_();
}

}  // namespace lumox
