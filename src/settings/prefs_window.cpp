#include "settings/prefs_window.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QSignalBlocker>
#include <algorithm>
#include <climits>
#include <vector>

#include "flight/flight_options.h"
#include "display/surface_window.h"
#include "desktop/x11/x11_hints.h"
#include "settings/prefs_keys.h"
#include "settings/slider_scales.h"
#include "settings/text_style.h"
#include "starfield/star_field.h"

namespace lumox {

namespace {

wPrefs* g_prefs = nullptr;

// A setting can lie beyond what an int holds (the settings file is not checked); the slider
// then shows its own nearest end.
void SetQuietly(QSlider* slider, int64_t value) {
  const QSignalBlocker quiet(slider);
  slider->setValue(static_cast<int>(std::clamp<int64_t>(value, INT_MIN, INT_MAX)));
}

int64_t ScreenWidth() { return FlightScreen()->geometry().width(); }

}  // namespace

wPrefs* wPrefs::Instance() {
  if (!g_prefs) {
    new wPrefs(SurfaceWindow::Instance());
    g_prefs->Event_Open();
  }
  return g_prefs;
}

wPrefs* wPrefs::Existing() { return g_prefs; }

wPrefs::wPrefs(QWidget* parent)
    : QDialog(parent, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint) {
  g_prefs = this;
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(QStringLiteral("Settings"));
  setFixedSize(411, 214);
  QPalette grey = palette();
  grey.setColor(QPalette::Window, QColor(0xCC, 0xCC, 0xCC));
  setPalette(grey);
  setAutoFillBackground(true);

  std::vector<QWidget*> created;  // creation order is also the tab order
  auto button = [&](const char* name, QRect geometry, const char* text) {
    auto* b = new QPushButton(QString::fromUtf8(text), this);
    b->setObjectName(QString::fromUtf8(name));
    b->setGeometry(geometry);
    b->setAutoDefault(false);  // Return always means OK, whichever button has the focus
    created.push_back(b);
    return b;
  };
  auto slider = [&](const char* name, QRect geometry, int minimum, int value, int maximum) {
    auto* s = new QSlider(Qt::Horizontal, this);
    s->setObjectName(QString::fromUtf8(name));
    s->setGeometry(geometry);
    s->setRange(minimum, maximum);
    s->setValue(value);
    s->setSingleStep(1);
    s->setPageStep(20);
    s->setTracking(true);
    created.push_back(s);
    return s;
  };
  auto label = [&](const QString& name, QRect geometry, const char* text, Qt::Alignment align) {
    auto* l = new QLabel(QString::fromUtf8(text), this);
    l->setObjectName(name);
    l->setGeometry(geometry);
    l->setAlignment(align | Qt::AlignVCenter);
    l->setWordWrap(false);
    QPalette black = l->palette();
    black.setColor(QPalette::WindowText, Qt::black);
    l->setPalette(black);
    // The end words lie over the sliders' lower edges; the sliders keep the mouse there.
    l->setAttribute(Qt::WA_TransparentForMouseEvents);
    created.push_back(l);
    return l;
  };

  PushButton1 = button("PushButton1", {311, 181, 80, 20}, "OK");
  PushButton1->setDefault(true);
  PushButton2 = button("PushButton2", {219, 181, 80, 20}, "Cancel");
  PushButton2->setVisible(false);
  Slider1 = slider("Slider1", {137, 17, 254, 23}, kSpeedSlider.low, 15, kSpeedSlider.high);
  Label1 = label("Label1", {20, 16, 100, 20}, "Speed", Qt::AlignLeft);
  Slider2 = slider("Slider2", {137, 78, 254, 23}, kStarsSlider.low, 15000, kStarsSlider.high);
  Label2 = label("Label2", {20, 78, 100, 20}, "Number of stars", Qt::AlignLeft);
  Slider3 = slider("Slider3", {137, 142, 254, 23}, kColourSpreadSlider.low, 170, kColourSpreadSlider.high);
  Label3 = label("Label3", {20, 142, 100, 20}, "Colour spread", Qt::AlignLeft);
  Slider4 = slider("Slider4", {137, 46, 254, 23}, kRotationSlider.low, 0, kRotationSlider.high);
  Label4 = label("Label4", {20, 46, 100, 20}, "Rotation", Qt::AlignLeft);
  Slider5 = slider("Slider5", {137, 110, 254, 23}, kStarSizeSlider.low, 15, kStarSizeSlider.high);
  PushButton3 = button("PushButton3", {20, 181, 131, 20}, "Restore Defaults");
  Label5 = label("Label5", {20, 110, 100, 20}, "Star size", Qt::AlignLeft);

  struct EndWord {
    int index;
    QRect geometry;
    Qt::Alignment align;
    const char* text;
  };
  const EndWord words[] = {
      {0, {140, 27, 100, 20}, Qt::AlignLeft, "majestic"},
      {1, {327, 27, 64, 20}, Qt::AlignRight, "wild"},
      {3, {327, 59, 64, 20}, Qt::AlignRight, "clockwise"},
      {2, {140, 59, 100, 20}, Qt::AlignLeft, "counter clockwise"},
      {5, {327, 91, 64, 20}, Qt::AlignRight, "crowded"},
      {4, {140, 91, 100, 20}, Qt::AlignLeft, "sparse"},
      {7, {327, 123, 64, 20}, Qt::AlignRight, "blobby"},
      {6, {140, 123, 100, 20}, Qt::AlignLeft, "points"},
      {9, {327, 155, 64, 20}, Qt::AlignRight, "narrow"},
      {8, {140, 155, 100, 20}, Qt::AlignLeft, "wide"},
      {10, {215, 59, 100, 20}, Qt::AlignHCenter, "none"},
  };
  for (const EndWord& w : words)
    Label6[w.index] = label(QStringLiteral("Label6_%1").arg(w.index), w.geometry, w.text, w.align);

  for (size_t i = 1; i < created.size(); ++i) QWidget::setTabOrder(created[i - 1], created[i]);

  // Bound only now, so the design-time values above write nothing.
  connect(Slider1, &QSlider::valueChanged, this, &wPrefs::Slider1_ValueChanged);
  connect(Slider2, &QSlider::valueChanged, this, &wPrefs::Slider2_ValueChanged);
  connect(Slider3, &QSlider::valueChanged, this, &wPrefs::Slider3_ValueChanged);
  connect(Slider4, &QSlider::valueChanged, this, &wPrefs::Slider4_ValueChanged);
  connect(Slider5, &QSlider::valueChanged, this, &wPrefs::Slider5_ValueChanged);
  connect(PushButton1, &QPushButton::clicked, this, &wPrefs::PushButton1_Action);
  connect(PushButton2, &QPushButton::clicked, this, &wPrefs::PushButton2_Action);
  connect(PushButton3, &QPushButton::clicked, this, &wPrefs::PushButton3_Action);

  connect(qApp, &QGuiApplication::focusWindowChanged, this, &wPrefs::OnFocusWindowChanged);

  // The flight keys belong to this window whichever control has the focus.
  installEventFilter(this);
  for (QWidget* child : created) child->installEventFilter(this);
}

wPrefs::~wPrefs() {
  if (g_prefs == this) g_prefs = nullptr;
}

void wPrefs::Event_Open() {
  setGeometry(10, 50, 411, 214);
  for (QLabel* word : Label6) {
    QFont font = word->font();
    font.setItalic(true);
    word->setFont(font);
    SetTextSize(word, 10);
  }
  SetApplicationCursor(Qt::ArrowCursor);
  LoadSliders();
  SurfaceWindow::Instance()->ini_file_changed = true;
}

void wPrefs::LoadSliders() {
  const SurfaceWindow* d = SurfaceWindow::Instance();
  SetQuietly(Slider1, SliderFromSpeed(d->Speed));
  SetQuietly(Slider2, d->StarMax);
  SetQuietly(Slider3, d->ColourSpread);
  SetQuietly(Slider4, d->Rotn);
  SetQuietly(Slider5, SliderFromStarSize(d->StarSize));
}

void wPrefs::Event_Activate() { LoadSliders(); }

void wPrefs::Slider1_ValueChanged(int value) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->Speed = SpeedFromSlider(value);
  d->Timer2()->SetPeriod(Timer2Period(d->StarMax, d->Speed));
}

void wPrefs::Slider2_ValueChanged(int value) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->StarMax = value;
  d->Timer2()->SetPeriod(Timer2Period(d->StarMax, d->Speed));
}

void wPrefs::Slider3_ValueChanged(int value) { SurfaceWindow::Instance()->ColourSpread = value; }

void wPrefs::Slider4_ValueChanged(int value) { SurfaceWindow::Instance()->Rotn = value; }

void wPrefs::Slider5_ValueChanged(int value) { SurfaceWindow::Instance()->StarSize = StarSizeFromSlider(value); }

void wPrefs::PushButton1_Action() {
  SetApplicationCursor(Qt::BlankCursor);
  close();
}

void wPrefs::PushButton2_Action() {
  SetApplicationCursor(Qt::BlankCursor);
  close();
}

void wPrefs::PushButton3_Action() {
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->Rotn = kDefaultRotn;
  d->Speed = kDefaultSpeed;
  d->ColourSpread = kDefaultColourSpread;
  d->StarSize = DefaultStarSize(ScreenWidth());
  d->StarMax = HoldStarMax(DefaultStarMax(ScreenWidth()));
  d->Timer2()->SetPeriod(Timer2Period(d->StarMax, d->Speed));
  LoadSliders();
}

void wPrefs::Event_KeyDown() {
  SurfaceWindow* d = SurfaceWindow::Instance();
  const PrefsKeyResult result = PrefsKeyDown(keys_down_.Keys(), d->Rotn, d->Speed, d->StarMax);
  d->Rotn = result.Rotn;
  d->Speed = result.Speed;
  for (const PrefsKeyEffect& effect : result.effects) {
    switch (effect.kind) {
      case PrefsKeyEffect::Kind::MinimizeAndResize:
        KeepAboveDisplay(false);
        // The new size and place are asked for before the minimise, not after it: a resize
        // that reaches the window manager after the minimise can leave the window on screen.
        setFixedSize(kPrefsEscapedWidth, kPrefsEscapedHeight);
        setGeometry(kPrefsEscapedLeft, kPrefsEscapedTop, kPrefsEscapedWidth, kPrefsEscapedHeight);
        if (TilingDesktop()) {
          // A tiling desktop may have no minimise (sway and i3 have none), and a Wayland one never
          // tells whether it did one: the window is put away unmapped, the keys go back to the
          // flight, and `s` shows it again as it would restore it.
          hide();
          break;
        }
        // showMinimized() without its show, which would bring the window straight back.
        setWindowState((windowState() & ~Qt::WindowActive) | Qt::WindowMinimized);
        // The keys go back to the flight once the window is really gone: asked any sooner, some
        // window managers (openbox) hand the focus straight back and never iconify it.
        activate_display_when_hidden_ = true;
        break;
      case PrefsKeyEffect::Kind::SetTimer2Period: d->Timer2()->SetPeriod(effect.value); break;
      case PrefsKeyEffect::Kind::SetSlider4: SetQuietly(Slider4, effect.value); break;
      case PrefsKeyEffect::Kind::SetSlider1: SetQuietly(Slider1, effect.value); break;
    }
  }
}

void wPrefs::keyPressEvent(QKeyEvent* event) {
  // Any other key asks again which flight keys are down (Left held steps at each of them); then
  // it goes on to the dialog, where Return presses OK.
  if (keys_down_.Track(event)) Event_KeyDown();
  QDialog::keyPressEvent(event);
}

void wPrefs::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  windowHandle()->installEventFilter(this);  // tells when the window manager has put it away
}

void wPrefs::setVisible(bool visible) {
  if (visible && isVisible() && isMinimized()) setWindowState(windowState() & ~Qt::WindowMinimized);
  QDialog::setVisible(visible);
}

void wPrefs::OnFocusWindowChanged(QWindow* focus) {
  // A click on the full-screen flight would bury the window: from then on it is the display's
  // dialog, which the window manager keeps above it. Only then, so that showing and putting it
  // away stay as plain as they are for any window.
  const SurfaceWindow* display = SurfaceWindow::Existing();
  if (display && focus == display->windowHandle() && isVisible() && !isMinimized()) {
    KeepAboveDisplay(true);
    raise();
  }
}

void wPrefs::KeepAboveDisplay(bool above) {
  // Put away, it is a window of its own: some managers (openbox) iconify a dialog together with
  // its parent.
  // Metacity stacks a dialog of a full-screen window below it, but lifts a dialog of the whole
  // program into the layer of the program's highest window, the focused full-screen one.
  static const bool program_dialog = WindowManagerName() == QStringLiteral("Metacity");
  const SurfaceWindow* display = SurfaceWindow::Instance();
  // A dialog shares its parent's fate: never one of a display that is not on screen.
  const bool dialog = above && display->isVisible() && !display->isMinimized();
  if (program_dialog)
    SetDialogType(windowHandle(), dialog);
  else
    SetTransientFor(windowHandle(), dialog ? display->windowHandle() : nullptr);
}

bool wPrefs::eventFilter(QObject* watched, QEvent* event) {
  if (watched == windowHandle() && event->type() == QEvent::Expose && !windowHandle()->isExposed() &&
      activate_display_when_hidden_) {
    activate_display_when_hidden_ = false;
    SurfaceWindow::Instance()->RequestActivation();
  }
  if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
    const auto* key = static_cast<QKeyEvent*>(event);
    // Swallowed, so no slider steps by an arrow and the dialog never rejects on escape.
    if (FlightKeyCode(key) >= 0) {
      if (keys_down_.Track(key)) Event_KeyDown();
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

void wPrefs::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() != QEvent::ActivationChange) return;
  if (isActiveWindow())
    Event_Activate();
  else
    keys_down_.Clear();  // releases go to whichever window is in front now
}

void wPrefs::closeEvent(QCloseEvent* event) {
  // The window manager's close gesture stands in for the hidden Cancel button.
  if (event->spontaneous()) SetApplicationCursor(Qt::BlankCursor);
  QDialog::closeEvent(event);
  // Closed is gone: the accessor makes a fresh window even before this one is deleted.
  if (event->isAccepted() && g_prefs == this) g_prefs = nullptr;
}

}  // namespace lumox
