#include "shell/about_window.h"

#include <QDesktopServices>
#include <QPixmap>
#include <QUrl>

#include "display/surface_window.h"
#include "shell/pictures.h"
#include "settings/text_style.h"

namespace lumox {

namespace {

wAbout* g_about = nullptr;

template <class Label = QLabel>
Label* MakeLabel(QWidget* parent, const QRect& geometry, const char* text, const QColor& colour) {
  auto* label = new Label(parent);
  label->setGeometry(geometry);
  label->setTextFormat(Qt::PlainText);
  label->setText(QString::fromUtf8(text));
  label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
  label->setAttribute(Qt::WA_TranslucentBackground);
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, colour);
  label->setPalette(palette);
  return label;
}

void Restyle(QLabel* label, bool bold, bool italic) {
  QFont font = label->font();
  font.setBold(bold);
  font.setItalic(italic);
  label->setFont(font);
}

}  // namespace

void LinkLabel::mousePressEvent(QMouseEvent*) { QDesktopServices::openUrl(QUrl(QString::fromUtf8(kMakerUrl))); }

wAbout* wAbout::Instance() {
  if (!g_about) {
    new wAbout(SurfaceWindow::Existing());
    g_about->Event_Open();
  }
  return g_about;
}

wAbout* wAbout::Existing() { return g_about; }

wAbout::wAbout(QWidget* parent) : QWidget(parent) {
  g_about = this;
  setAttribute(Qt::WA_DeleteOnClose);
  // A dialog of the display, so the window manager keeps it above the full-screen flight;
  // closable, neither resizable nor minimizable.
  setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
  setWindowTitle(QStringLiteral("Lumox"));
  setFixedSize(300, 300);
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, Qt::white);
  setPalette(palette);
  setAutoFillBackground(true);

  // The backdrop at its own size, from the top left; the labels lie over it, each over the last.
  Canvas1 = new QLabel(this);
  Canvas1->setPixmap(QPixmap::fromImage(AboutPicture()));
  Canvas1->setGeometry(5, 5, 290, 270);
  Canvas1->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  const QColor bright_green(0x00, 0xFF, 0x80);
  Label1 = MakeLabel(this, QRect(0, 20, 300, 103), "Lumox v1", bright_green);
  Label2 = MakeLabel(this, QRect(0, 118, 300, 54), "drift through space", bright_green);
  Label3 = MakeLabel(this, QRect(0, 167, 299, 70), "from Tallowby", bright_green);
  Label4 = MakeLabel<LinkLabel>(this, QRect(0, 199, 300, 70), kMakerHost, bright_green);
  Label5 = MakeLabel(this, QRect(0, 276, 300, 20), "Arrow keys for speed/rotation, s for full settings", Qt::black);
}

wAbout::~wAbout() {
  if (g_about == this) g_about = nullptr;
}

void wAbout::Event_Open() {
  setGeometry(40, 90, 300, 300);
  SetApplicationCursor(Qt::ArrowCursor);
  Restyle(Label1, true, false);
  SetTextSize(Label1, 65);
  Restyle(Label2, true, true);
  Restyle(Label3, true, false);
  Restyle(Label4, true, false);
}

void wAbout::Event_Close() { SetApplicationCursor(Qt::BlankCursor); }

void wAbout::closeEvent(QCloseEvent* event) {
  Event_Close();
  QWidget::closeEvent(event);
}

}  // namespace lumox
