#include "desktop/gnome/gnome_backend.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QExposeEvent>
#include <QGuiApplication>
#include <QScreen>
#include <map>

#include "flight/opengl_surface.h"

namespace lumox {

namespace {

// GNOME's own account of its monitors. In mutter's physical layout (its default, without fractional
// scaling) a monitor's size is in device pixels, which Qt takes for logical ones, so a monitor at
// scale 2 looks twice its size. Each such monitor's scale, by connector; none in the logical
// layout, or where the Shell doesn't answer.
std::map<QString, int> DevicePixelScales() {
  const QString service = QStringLiteral("org.gnome.Mutter.DisplayConfig");
  const QDBusMessage reply = QDBusConnection::sessionBus().call(
      QDBusMessage::createMethodCall(service, QStringLiteral("/org/gnome/Mutter/DisplayConfig"), service,
                                     QStringLiteral("GetCurrentState")),
      QDBus::Block, 1000);
  std::map<QString, int> scales;
  constexpr uint kPhysicalLayout = 2;
  if (reply.type() != QDBusMessage::ReplyMessage ||
      reply.signature() != QStringLiteral("ua((ssss)a(siiddada{sv})a{sv})a(iiduba(ssss)a{sv})a{sv}") ||
      qdbus_cast<QVariantMap>(reply.arguments()[3]).value(QStringLiteral("layout-mode")).toUInt() != kPhysicalLayout)
    return scales;
  // The logical monitors: place, scale, transform, primary, the monitors they show, properties.
  const QDBusArgument logical = reply.arguments()[2].value<QDBusArgument>();
  logical.beginArray();
  while (!logical.atEnd()) {
    int x = 0, y = 0;
    double scale = 1.0;
    uint transform = 0;
    bool primary = false;
    logical.beginStructure();
    logical >> x >> y >> scale >> transform >> primary;
    logical.beginArray();
    while (!logical.atEnd()) {
      QString connector, vendor, product, serial;
      logical.beginStructure();
      logical >> connector >> vendor >> product >> serial;
      logical.endStructure();
      scales[connector] = static_cast<int>(scale);
    }
    logical.endArray();
    QVariantMap properties;
    logical >> properties;
    logical.endStructure();
  }
  logical.endArray();
  return scales;
}

// One monitor's window. It takes no input and no focus. The compositor stops its frame callbacks
// while it is covered, and Qt then takes it for not exposed: the flight pauses until it shows.
class GnomeSurface : public OpenGLSurface {
 public:
  // `divisor`: what the screen's size as Qt has it is divided by for the window's own pixels.
  GnomeSurface(DesktopSink& sink, uint32_t output, QScreen* screen, int divisor)
      : OpenGLSurface([] {}), sink_(sink), output_(output), width_(screen->geometry().width() / divisor) {
    setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput);
    setTitle(QStringLiteral("Lumox ") + screen->name());
    setScreen(screen);
    // Half the monitor, for the extension to stretch once it shows: mutter maximizes a window
    // nearly as big as its work area as it first shows, into the work area.
    resize(screen->geometry().size() / divisor / 2);
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
  const std::map<QString, int> scales = DevicePixelScales();
  const auto scale = scales.find(screen->name());
  return std::make_unique<GnomeSurface>(sink_, output, screen, scale == scales.end() ? 1 : std::max(scale->second, 1));
}

}  // namespace lumox
