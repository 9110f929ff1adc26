#include "desktop/gnome/gnome_backend.h"

#include <QExposeEvent>
#include <QGuiApplication>
#include <QScreen>

#include "flight/opengl_surface.h"

namespace lumox {

namespace {

// One monitor's window. It takes no input and no focus. The compositor stops its frame callbacks
// while it is covered, and Qt then takes it for not exposed: the flight pauses until it shows.
class GnomeSurface : public OpenGLSurface {
 public:
  GnomeSurface(DesktopSink& sink, uint32_t output, QScreen* screen)
      : OpenGLSurface([] {}), sink_(sink), output_(output), width_(screen->geometry().width()) {
    setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput);
    setTitle(QStringLiteral("Lumox ") + screen->name());
    setScreen(screen);
    resize(screen->geometry().size());
    show();
  }
  bool TakesFrames() const override { return isExposed(); }

 protected:
  void exposeEvent(QExposeEvent*) override {
    if (!isExposed()) {
      sink_.SurfaceCovered(output_, true);
    } else if (!ready_) {
      ready_ = true;
      sink_.SurfaceReady(output_, width_);
    } else {
      sink_.SurfaceCovered(output_, false);
      sink_.SurfaceRedraw(output_);
    }
  }

 private:
  DesktopSink& sink_;
  uint32_t output_;
  int width_;
  bool ready_ = false;
};

}  // namespace

bool GnomeBackend::Connect(std::string&) {
  QGuiApplication::setDesktopFileName(QString::fromLatin1(kAppId));  // the windows' app id
  screens_.Watch();
  return true;
}

std::unique_ptr<DrawTarget> GnomeBackend::MakeSurface(uint32_t output) {
  QScreen* screen = screens_.Screen(output);
  if (!screen) return nullptr;
  return std::make_unique<GnomeSurface>(sink_, output, screen);
}

}  // namespace lumox
