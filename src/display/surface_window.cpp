#include "display/surface_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLayout>
#include <QMenuBar>
#include <QProxyStyle>
#include <QScreen>
#include <QWindow>

#include "flight/flight_options.h"
#include "desktop/x11/x11_hints.h"

namespace lumox {

namespace {
SurfaceWindow* g_instance = nullptr;
DisplayWiring g_wiring;

// Runs `action` once, as soon as the window is exposed, then goes.
class WhenExposed : public QObject {
 public:
  WhenExposed(QWindow* window, std::function<void()> action) : QObject(window), action_(std::move(action)) {
    window->installEventFilter(this);
  }
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Expose && static_cast<QWindow*>(watched)->isExposed()) {
      watched->removeEventFilter(this);
      deleteLater();
      action_();
    }
    return false;
  }

 private:
  std::function<void()> action_;
};

class NoAltMenuStyle : public QProxyStyle {
 public:
  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* returned) const override {
    if (hint == SH_MenuBar_AltKeyNavigation) return 0;
    return QProxyStyle::styleHint(hint, option, widget, returned);
  }
};
}

void SetApplicationCursor(Qt::CursorShape shape) {
  if (QGuiApplication::overrideCursor())
    QGuiApplication::changeOverrideCursor(QCursor(shape));
  else
    QGuiApplication::setOverrideCursor(QCursor(shape));
}

SurfaceWindow* SurfaceWindow::Instance() {
  if (!g_instance) {
    auto* window = new SurfaceWindow();  // sets g_instance, so the opening can reach itself
    window->Event_Open();
  }
  return g_instance;
}

SurfaceWindow* SurfaceWindow::Existing() { return g_instance; }

void SurfaceWindow::SetWiring(DisplayWiring wiring) { g_wiring = std::move(wiring); }

SurfaceWindow::SurfaceWindow() {
  g_instance = this;
  setWindowTitle(QStringLiteral("Lumox"));
  setWindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowMaximizeButtonHint | Qt::CustomizeWindowHint);
  setMinimumSize(64, 64);
  resize(970, 630);

  surface_ = new OpenGLSurface([this] { Event_Paint(); });
  SetTarget(surface_);
  QWidget* holder = QWidget::createWindowContainer(surface_, this);
  holder->setFocusPolicy(Qt::NoFocus);
  setCentralWidget(holder);
  setFocusPolicy(Qt::StrongFocus);
  // The arrow keys always steer: no Alt press hands them to the menu bar.
  auto* menu_style = new NoAltMenuStyle;
  menu_style->setParent(menuBar());
  menuBar()->setStyle(menu_style);
  g_wiring.attach_menu(this);
}

SurfaceWindow::~SurfaceWindow() {
  if (g_instance == this) g_instance = nullptr;
}

void SurfaceWindow::Event_Open() {
  // Placed on its screen before it is shown, so full screen fills that one.
  QScreen* const flight_screen = FlightScreen();
  const QRect screen = flight_screen->geometry();
  setScreen(flight_screen);
  setGeometry(screen.x(), screen.y(), screen.width(), screen.height());
  if (TilingWindowManager()) {
    create();
    PutOnI3WorkspaceOf(windowHandle(), flight_screen->name());
  }
  show();
  windowHandle()->installEventFilter(this);  // its exposure tells when the flight is on screen
  menuBar()->setVisible(false);
  setWindowState(Qt::WindowFullScreen);
  SetApplicationCursor(Qt::BlankCursor);
  escaped = false;

  Settings settings = DefaultSettings(screen.width());
  // A file that is there but can't be read leaves the defaults too, and is left alone at quit
  // unless the settings window is opened.
  ini_file_changed = g_wiring.load_settings(settings);
  setCursor(Qt::ArrowCursor);
  TakeOff(settings);
  Event_Maximize();
  // Some window managers (xfwm4) give a new window no keyboard focus unless it asks.
  RequestActivation();
}

void SurfaceWindow::RequestActivation() {
  raise();
  activateWindow();
}

void SurfaceWindow::Event_Close() {
  if (closed_) return;
  closed_ = true;
  // A failed write costs nothing more: the old file stays whole and the program still quits.
  if (ini_file_changed) g_wiring.save_settings(CurrentSettings());
}

void SurfaceWindow::Event_Maximize() {
  menuBar()->setVisible(false);
  setWindowState(Qt::WindowFullScreen);
}

void SurfaceWindow::Event_Minimize() {
  menuBar()->setVisible(true);
  setWindowState(windowState() & ~Qt::WindowFullScreen);
}

void SurfaceWindow::ShowAbove(QWidget* window) {
  // A Wayland compositor or a tiling window manager (i3) shows a new window over a full-screen one
  // only if it belongs to it, and that has to be said before the window is mapped. Some Wayland
  // ones (sway) give it no focus at all, and ignore activation asked for before the map: it is
  // asked for again once the window is on screen.
  const bool belong = TilingDesktop() && !window->isVisible();
  if (belong && OnWayland()) {
    window->winId();
    window->windowHandle()->setTransientParent(windowHandle());
    QWindow* handle = window->windowHandle();
    new WhenExposed(handle, [handle] { handle->requestActivate(); });
  }
  if (belong && !OnWayland()) {
    // On X11 Qt keeps WM_TRANSIENT_FOR only on a dialog, and takes it from the transient parent:
    // the parent widget's window, or this one again after a put-away took it off.
    window->setWindowFlags(window->windowFlags() | Qt::Dialog);
    if (window->windowHandle()) window->windowHandle()->setTransientParent(windowHandle());
  }
  window->show();
}

bool SurfaceWindow::_About_Action(int) {
  ShowAbove(g_wiring.about_window());
  return true;
}

void SurfaceWindow::ShowPrefs() {
  QWidget* prefs = g_wiring.prefs_window();
  if (TilingWindowManager()) {
    // i3 gives the keys to a window of the full-screen one as it maps it, but asked to activate
    // one, it leaves full screen for it: the window is mapped anew instead.
    prefs->hide();
    ShowAbove(prefs);
    return;
  }
  ShowAbove(prefs);
  prefs->raise();
  prefs->activateWindow();
}

void SurfaceWindow::LeaveFullScreen() {
  menuBar()->setVisible(true);
  if (TilingDesktop()) {
    // A Wayland compositor sizes a window it has mapped (a tiling one keeps it in its tile, others
    // give back the size before full screen) and places every window itself; i3 keeps it in its
    // tile. A window mapped anew with a fixed size is laid out as a floating one of that size.
    hide();
    setWindowState(Qt::WindowNoState);
    setFixedSize(EscapedGeometry().size());
    if (!OnWayland()) setGeometry(EscapedGeometry());  // i3 floats it where it asks
    show();
    // The window's new Wayland surface holds no GL surface until the container shows it anew,
    // once that surface is on screen and laid out; the GL surface's place takes effect as the
    // window draws itself again.
    if (OnWayland())
      new WhenExposed(windowHandle(), [this] {
        layout()->activate();
        centralWidget()->hide();
        centralWidget()->show();
        update();
      });
    fixed_for_map_ = true;
    RequestActivation();
    return;
  }
  setWindowState(windowState() & ~(Qt::WindowFullScreen | Qt::WindowMaximized));
  setGeometry(EscapedGeometry());
  RequestActivation();
  left_full_screen_.start();
}

void SurfaceWindow::StartWindowed() {
  escaped = true;
  LeaveFullScreen();
}

void SurfaceWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::ActivationChange && !isActiveWindow()) keys_down_.Clear();  // releases go elsewhere
  if (event->type() == QEvent::ActivationChange && isActiveWindow() && fixed_for_map_) {
    // Mapped and laid out: from here on the user may resize it again.
    fixed_for_map_ = false;
    setMinimumSize(64, 64);
    setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
  }
  if (event->type() != QEvent::WindowStateChange) return;
  const auto old_state = static_cast<QWindowStateChangeEvent*>(event)->oldState();
  const Qt::WindowStates state = windowState();
  UpdateFlightShown();
  // The menu bar is part of this window, so it shows exactly when the window is not full screen.
  menuBar()->setVisible(!(state & Qt::WindowFullScreen));
  if ((state & Qt::WindowMinimized) && !(old_state & Qt::WindowMinimized)) {
    Event_Minimize();
  } else if ((state & Qt::WindowMaximized) && !(old_state & Qt::WindowMaximized)) {
    // xfwm4 maximizes a window as large as the screen when it maps it, and hands that state back
    // as the window leaves full screen. That is not the user's maximize: escape's size stands.
    if (Settling())
      setWindowState(state & ~Qt::WindowMaximized);
    else
      Event_Maximize();
  }
}

bool SurfaceWindow::Settling() const {
  return left_full_screen_.isValid() && left_full_screen_.elapsed() < kWindowManagerEcho;
}

void SurfaceWindow::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  // A window manager that gives the window back the size it had before full screen (or before
  // its own maximize) is overruled while escape's geometry settles.
  const QSize escaped(kEscapedWidth, kEscapedHeight);
  if (event->spontaneous() && Settling() && !(windowState() & (Qt::WindowFullScreen | Qt::WindowMaximized)) && event->size() != escaped)
    setGeometry(EscapedGeometry());
}

QRect SurfaceWindow::EscapedGeometry() const {
  // On the flight's screen, where full screen was.
  const QPoint origin = FlightScreen()->geometry().topLeft();
  return QRect(origin.x() + kEscapedLeft, origin.y() + kEscapedTop, kEscapedWidth, kEscapedHeight);
}

void SurfaceWindow::closeEvent(QCloseEvent* event) {
  // Only the quit closes the display (the window manager's close ends the run the same way).
  Event_Close();
  UpdateFlightShown();
  QMainWindow::closeEvent(event);
}

bool SurfaceWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Expose && watched == windowHandle()) UpdateFlightShown();
  return QMainWindow::eventFilter(watched, event);
}

void SurfaceWindow::UpdateFlightShown() {
  // Minimised from full screen, Qt can lose the minimised state while the window manager keeps
  // the window iconic and unmapped; so whether the window is exposed counts as well.
  const bool shown = !closed_ && isVisible() && windowHandle() && windowHandle()->isExposed() &&
                     !(windowState() & Qt::WindowMinimized);
  if (shown == flight_shown_) return;
  flight_shown_ = shown;
  emit FlightShownChanged(shown);
}

void SurfaceWindow::keyPressEvent(QKeyEvent* event) {
  left_full_screen_.invalidate();  // from the user's next key on, a maximize is the user's
  keys_down_.Track(event);
  Event_KeyDown();
  event->accept();
}

void SurfaceWindow::keyReleaseEvent(QKeyEvent* event) {
  keys_down_.Track(event);
  event->accept();
}

void SurfaceWindow::Event_KeyDown() {
  const DisplayKeyResult result = DisplayKeyDown(keys_down_.Keys(), Rotn, Speed, StarMax, escaped);
  Rotn = result.Rotn;
  Speed = result.Speed;
  escaped = result.escaped;
  for (const DisplayKeyEffect& effect : result.effects) {
    switch (effect.kind) {
      case DisplayKeyEffect::Kind::LeaveFullScreen: LeaveFullScreen(); break;
      case DisplayKeyEffect::Kind::Restore: showNormal(); break;
      case DisplayKeyEffect::Kind::SetTimer2Period: Timer2()->SetPeriod(effect.period); break;
      case DisplayKeyEffect::Kind::ShowPrefs: ShowPrefs(); break;
    }
  }
}

}  // namespace lumox
