#include "desktop/x11/x11_backend.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QTimer>

#include "desktop/x11/window_flight.h"
#include "flight/opengl_surface.h"
#include "desktop/x11/x11_windows.h"

namespace lumox {

namespace {

// One monitor's saver: a window of its own over the whole monitor, kept from the window manager
// and above every window. Every key, button and move is the host's to judge.
class SaverFlight : public Flight, public QObject {
 public:
  SaverFlight(QScreen* screen, X11DesktopHost* host, const std::function<Settings(int)>& starting)
      : host_(host), surface_([this] { Event_Paint(); }) {
    SetTarget(&surface_);
    surface_.setFlag(Qt::WindowTransparentForInput, false);
    surface_.setFlags(Qt::Window | Qt::X11BypassWindowManagerHint | Qt::FramelessWindowHint |
                      Qt::WindowStaysOnTopHint);
    surface_.setScreen(screen);
    surface_.setGeometry(screen->geometry());
    surface_.setCursor(Qt::BlankCursor);
    surface_.installEventFilter(this);
    surface_.show();
    surface_.raise();
    TakeOff(starting(screen->geometry().width()));
  }
  ~SaverFlight() override { Timer1()->stop(); }

  bool eventFilter(QObject*, QEvent* event) override {
    switch (event->type()) {
      case QEvent::KeyPress:
      case QEvent::MouseButtonPress:
        host_->UserPressed();
        return true;
      case QEvent::MouseMove:
        host_->PointerAt(static_cast<QMouseEvent*>(event)->globalPosition());
        return true;
      default:
        return false;
    }
  }

  // The grabs succeed once the window is viewable and no other program holds them; until then
  // they are asked for again.
  void TakeInput() {
    const bool keyboard = surface_.setKeyboardGrabEnabled(true);
    const bool pointer = surface_.setMouseGrabEnabled(true);
    if (!keyboard || !pointer) QTimer::singleShot(50, this, [this] { TakeInput(); });
  }

 private:
  X11DesktopHost* host_;
  OpenGLSurface surface_;
};

}  // namespace

X11DesktopHost::X11DesktopHost(DesktopModeOptions options, std::function<void()> ended)
    : options_(std::move(options)), ended_(std::move(ended)), plan_(options_.output) {}

X11DesktopHost::~X11DesktopHost() { flights_.clear(); }

int X11DesktopHost::Start(std::string& error) {
  for (QScreen* screen : QGuiApplication::screens()) Added(screen);
  if (!plan_.WantedPresent()) {
    error = NoSuchOutput(options_.output, plan_.Names());
    return 2;
  }
  connect(qApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) { Added(screen); });
  connect(qApp, &QGuiApplication::screenRemoved, this, [this](QScreen* screen) {
    if (const uint32_t id = IdOf(screen)) {
      Carry(plan_.Removed(id));
      screens_.erase(id);
    }
  });
  // The pointer's place at the start is where a move is measured from.
  wake_.Pointer(0, QCursor::pos().x(), QCursor::pos().y());
  Carry({});
  return 0;
}

void X11DesktopHost::Added(QScreen* screen) {
  const uint32_t id = next_id_++;
  screens_[id] = screen;
  plan_.Added(id);
  // A monitor that moves or changes size gets its flight anew, in its new place.
  connect(screen, &QScreen::geometryChanged, this, [this, id] {
    Carry(plan_.Closed(id));
  });
  Carry(plan_.Described(id, screen->name().toStdString()));
}

uint32_t X11DesktopHost::IdOf(QScreen* screen) const {
  for (const auto& [id, s] : screens_)
    if (s == screen) return id;
  return 0;
}

void X11DesktopHost::Carry(const std::vector<OutputChange>& changes) {
  for (const OutputChange& change : changes)
    if (change.kind == OutputChange::kLand) flights_.erase(change.output);
  for (const auto& [id, screen] : screens_) {
    if (!screen || !plan_.Flying(id) || flights_.count(id)) continue;
    if (options_.role == DesktopRole::kSaver) {
      flights_[id] = std::make_unique<SaverFlight>(screen, this, options_.starting);
      continue;
    }
    // The root window's part that the monitor shows, in the root's logical pixels.
    auto flight = std::make_unique<EmbeddedFlight>(
        X11VirtualRoot(), options_.starting, [] {}, true, screen->geometry());
    if (flight->Open()) flights_[id] = std::move(flight);
  }
  // One saver window holds the keyboard and the pointer; when its monitor goes, the next takes them.
  if (options_.role == DesktopRole::kSaver && !flights_.count(grabbing_) && !flights_.empty()) {
    grabbing_ = flights_.begin()->first;
    static_cast<SaverFlight*>(flights_.begin()->second.get())->TakeInput();
  }
}

void X11DesktopHost::UserPressed() {
  if (ended_once_) return;
  ended_once_ = true;
  ended_();
}

void X11DesktopHost::PointerAt(QPointF global) {
  if (wake_.Pointer(0, global.x(), global.y())) UserPressed();
}

}  // namespace lumox
