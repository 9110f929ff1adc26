#include "shell/startup_window.h"

#include <QDesktopServices>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QUrl>

#include "display/surface_window.h"
#include "shell/app.h"
#include "shell/my_lib.h"
#include "shell/pictures.h"
#include "shell/placement.h"
#include "settings/text_style.h"

namespace lumox {

const char* const kStartupHelp =
    "When running, press <esc> to stop full screen, \rs for settings, left and right arrow keys to \rchange "
    "rotation, up arrow to increase speed, \rdown arrow to slow down.";

namespace {

wStartup* g_startup = nullptr;

QLabel* MakeLabel(QWidget* parent, const QRect& geometry, const QString& text, const QColor& colour,
                  Qt::Alignment align) {
  auto* label = new QLabel(parent);
  label->setGeometry(geometry);
  label->setTextFormat(Qt::PlainText);
  label->setText(text);
  label->setAlignment(align | Qt::AlignTop);
  label->setAttribute(Qt::WA_TranslucentBackground);
  label->setAttribute(Qt::WA_TransparentForMouseEvents);
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, colour);
  label->setPalette(palette);
  return label;
}

QPushButton* MakeButton(QWidget* parent, const QRect& geometry, const QString& text) {
  auto* button = new QPushButton(text, parent);
  button->setGeometry(geometry);
  return button;
}

}  // namespace

void StartCanvas::paintEvent(QPaintEvent*) {
  const QImage& picture = StartPicture();
  if (picture.isNull()) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(QRect(0, 0, width(), height()), picture, QRect(0, 0, picture.width(), picture.height()));
}

void StartCanvas::mouseDoubleClickEvent(QMouseEvent*) { QDesktopServices::openUrl(QUrl(QString::fromUtf8(kMakerUrl))); }

wStartup* wStartup::Instance() {
  if (!g_startup) {
    new wStartup();
    g_startup->Event_Open();
  }
  return g_startup;
}

wStartup* wStartup::Existing() { return g_startup; }

wStartup::wStartup() {
  g_startup = this;
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(QStringLiteral("Untitled"));
  setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
  setFixedSize(320, 424);

  const QColor pale_green(0x66, 0xFF, 0x66);
  // Created in this order, so the title and the address lie over the picture.
  Canvas1 = new StartCanvas(this);
  Canvas1->setGeometry(11, 12, 300, 300);
  Label1 = MakeLabel(this, QRect(11, 199, 300, 101), QStringLiteral("Lumox"), pale_green, Qt::AlignHCenter);
  Label3 = MakeLabel(this, QRect(11, 278, 300, 33), QString::fromUtf8(kMakerHost), pale_green, Qt::AlignHCenter);
  PushButton1 = MakeButton(this, QRect(231, 392, 80, 20), QStringLiteral("GO"));
  PushButton2 = MakeButton(this, QRect(139, 392, 80, 20), QStringLiteral("Quit"));
  // Qt breaks lines at line feeds, not carriage returns.
  Label2 = MakeLabel(this, QRect(20, 316, 291, 81), QString::fromUtf8(kStartupHelp).replace(QChar('\r'), QChar('\n')),
                     Qt::black, Qt::AlignLeft);
  Label2->setWordWrap(false);

  PushButton1->setDefault(true);
  setTabOrder(PushButton1, PushButton2);
  connect(PushButton1, &QPushButton::clicked, this, &wStartup::PushButton1_Action);
  connect(PushButton2, &QPushButton::clicked, this, &wStartup::PushButton2_Action);
  MainMenuBar::Instance().AddShortcutsTo(this);
  PlaceOnScreen();
}

wStartup::~wStartup() {
  if (g_startup == this) g_startup = nullptr;
}

void wStartup::Event_Open() {
  myLib::InitMyLib(QStringLiteral("Lumox"));
  QFont title = Label1->font();
  title.setBold(true);
  Label1->setFont(title);
  SetTextSize(Label1, 50);
}

void wStartup::PushButton1_Action() {
  SurfaceWindow* display = SurfaceWindow::Instance();
  display->show();
  close();
}

void wStartup::PushButton2_Action() { QuitApplication(); }

void wStartup::PlaceOnScreen() {
  // Centred on the screen's free area, but never past its edges. Placed by its frame's corner
  // (move() before the first show), so on a small screen the title bar stays on the screen too.
  const QRect area = screen()->availableGeometry();
  move(FitSpan(area.center().x() - width() / 2, width(), area.x(), area.width()),
       FitSpan(area.center().y() - height() / 2, height(), area.y(), area.height()));
}

void wStartup::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
    PushButton2->click();
    return;
  }
  QDialog::keyPressEvent(event);
}

}  // namespace lumox
