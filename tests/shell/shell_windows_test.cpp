// The start window, the about window, the menu tree and the data folder, as built.
#include <gtest/gtest.h>

#include <algorithm>

#include <QDesktopServices>
#include <QDir>
#include <QMouseEvent>
#include <QGuiApplication>
#include <QMenuBar>

#include "display/surface_window.h"
#include "shell/about_window.h"
#include "shell/app.h"
#include "shell/startup_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

// Stands in for the browser: collects the addresses the program asks to open.
class UrlCatcher : public QObject {
  Q_OBJECT
 public:
  UrlCatcher() { QDesktopServices::setUrlHandler("https", this, "Open"); }
  ~UrlCatcher() override { QDesktopServices::unsetUrlHandler("https"); }
  QList<QUrl> urls;
 public slots:
  void Open(const QUrl& url) { urls << url; }
};

void Click(QWidget* widget, QEvent::Type type) {
  const QPointF at(widget->width() / 2.0, widget->height() / 2.0);
  QMouseEvent event(type, at, widget->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(widget, &event);
}

QColor TextColour(const QLabel* label) { return label->palette().color(QPalette::WindowText); }

TEST(ShellWindows, StartWindowAsDesigned) {
  wStartup* w = wStartup::Instance();
  EXPECT_EQ(w->minimumSize(), w->maximumSize());  // fixed size; title, size, GO by Return are in ShellE2E
  EXPECT_FALSE(w->windowFlags() & (Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));

  const QList<QRect> places{w->Canvas1->geometry(), w->Label1->geometry(), w->Label3->geometry(),
                            w->Label2->geometry(), w->PushButton1->geometry(), w->PushButton2->geometry()};
  EXPECT_EQ(places, QList<QRect>({{11, 12, 300, 300}, {11, 199, 300, 101}, {11, 278, 300, 33}, {20, 316, 291, 81},
                                  {231, 392, 80, 20}, {139, 392, 80, 20}}));
  EXPECT_EQ(QStringList({w->Label1->text(), w->Label3->text(), w->PushButton1->text(), w->PushButton2->text()}),
            QStringList({"Lumox", "tallowby.net", "GO", "Quit"}));
  EXPECT_EQ(w->Label2->text(), "When running, press <esc> to stop full screen, \ns for settings, left and right arrow "
                               "keys to \nchange rotation, up arrow to increase speed, \ndown arrow to slow down.");
  EXPECT_TRUE(TextColour(w->Label1) == QColor(0x66, 0xFF, 0x66) && TextColour(w->Label3) == TextColour(w->Label1));
  EXPECT_EQ(TextColour(w->Label2), QColor(Qt::black));
  EXPECT_TRUE(w->Label1->font().bold() && !w->Label3->font().bold());
  EXPECT_EQ(w->Label1->font().pixelSize(), 50);
  EXPECT_EQ(w->Label1->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
  EXPECT_TRUE(w->PushButton1->isDefault() && !w->PushButton2->isDefault());
  const QDir data(qEnvironmentVariable("XDG_DATA_HOME") + "/net.tallowby.Lumox");
  EXPECT_TRUE(data.exists() && data.isEmpty());

  // The picture is painted over the whole canvas.
  QImage canvas(300, 300, QImage::Format_RGB32);
  canvas.fill(Qt::red);
  w->Canvas1->render(&canvas);
  const auto* pixels = reinterpret_cast<const QRgb*>(canvas.constBits());
  EXPECT_EQ(std::count(pixels, pixels + 300 * 300, qRgb(255, 0, 0)), 0);
}

TEST(ShellWindows, MenuTreeAndItsShortcuts) {
  SurfaceWindow* display = SurfaceWindow::Instance();
  MainMenuBar& bar = MainMenuBar::Instance();
  QStringList items;
  for (QMenu* menu : {&bar.ApplicationMenu, &bar.EditMenu})
    for (QAction* a : QList<QAction*>{menu->menuAction()} + menu->actions())
      items << (a->isSeparator() ? "-" : a->text() + " " + a->shortcut().toString() + (a->isEnabled() ? "" : " off"));
  EXPECT_EQ(items, QStringList({"&File ", "About Lumox ", "&Quit Ctrl+Q", "&Edit ", "&Undo Ctrl+Z off", "-",
                                "Cu&t Ctrl+X off", "&Copy Ctrl+C off", "&Paste Ctrl+V off", "&Delete  off", "-",
                                "Select &All Ctrl+A off"}));
  EXPECT_EQ(display->menuBar()->actions().size(), 2);
}

TEST(ShellWindows, AboutWindowOverTheFlight) {
  SurfaceWindow* display = SurfaceWindow::Instance();
  display->escaped = true;
  MainMenuBar::Instance().About->trigger();
  wAbout* about = wAbout::Existing();
  ASSERT_NE(about, nullptr);
  EXPECT_TRUE(about->isVisible());
  EXPECT_EQ(about->minimumSize(), about->maximumSize());
  EXPECT_TRUE(about->windowFlags() & Qt::WindowCloseButtonHint);
  EXPECT_FALSE(about->windowFlags() & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
  EXPECT_EQ(about->palette().color(QPalette::Window), QColor(Qt::white));
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor);

  EXPECT_EQ(about->Canvas1->geometry(), QRect(5, 5, 290, 270));
  EXPECT_FALSE(about->Canvas1->pixmap().isNull());
  const struct { QLabel* label; QRect rect; const char* text; } labels[] = {
      {about->Label1, {0, 20, 300, 103}, "Lumox v1"},
      {about->Label2, {0, 118, 300, 54}, "drift through space"},
      {about->Label3, {0, 167, 299, 70}, "from Tallowby"},
      {about->Label4, {0, 199, 300, 70}, "tallowby.net"},
      {about->Label5, {0, 276, 300, 20}, "Arrow keys for speed/rotation, s for full settings"},
  };
  const QList<QObject*> order = about->children();
  for (size_t i = 0; i < std::size(labels); ++i) {
    EXPECT_EQ(labels[i].label->geometry(), labels[i].rect) << i;
    EXPECT_EQ(labels[i].label->text(), labels[i].text) << i;
    EXPECT_EQ(labels[i].label->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter) << i;
    EXPECT_EQ(TextColour(labels[i].label), i < 4 ? QColor(0x00, 0xFF, 0x80) : QColor(Qt::black)) << i;
    EXPECT_EQ(labels[i].label->font().bold(), i < 4) << i;
    if (i > 0) {
      EXPECT_LT(order.indexOf(labels[i - 1].label), order.indexOf(labels[i].label)) << i;
    }
  }
  // 65 points, or as near as lets the title fit its label.
  const QFont title = about->Label1->font();
  EXPECT_TRUE(title.pixelSize() > 40 && title.pixelSize() <= 65) << title.pixelSize();
  EXPECT_LE(QFontMetrics(title).horizontalAdvance(about->Label1->text()), 300);
  EXPECT_TRUE(about->Label2->font().italic() && !about->Label3->font().italic());

  // The same window comes back while it is open.
  MainMenuBar::Instance().About->trigger();
  EXPECT_EQ(wAbout::Existing(), about);

  about->close();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(wAbout::Existing(), nullptr);
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
  EXPECT_TRUE(display->escaped);
  // A fresh one opens at its place again.
  MainMenuBar::Instance().About->trigger();
  ASSERT_NE(wAbout::Existing(), nullptr);
  EXPECT_EQ(wAbout::Existing()->geometry().topLeft(), QPoint(40, 90));
}

TEST(ShellWindows, TheMakersSiteOpensFromThePictureAndTheAddressOnly) {
  UrlCatcher browser;
  wStartup* start = wStartup::Instance();
  Click(start->Canvas1, QEvent::MouseButtonDblClick);
  Click(start->Canvas1, QEvent::MouseButtonDblClick);
  EXPECT_EQ(browser.urls, QList<QUrl>({QUrl("https://tallowby.net/"), QUrl("https://tallowby.net/")}));
  EXPECT_EQ(SurfaceWindow::Existing(), nullptr);  // nothing else happens: no flight starts
  EXPECT_EQ(wStartup::Existing(), start);

  browser.urls.clear();
  SurfaceWindow::Instance()->_About_Action(0);
  wAbout* about = wAbout::Existing();
  for (QLabel* other : {about->Label1, about->Label2, about->Label3, about->Label5}) Click(other, QEvent::MouseButtonPress);
  EXPECT_TRUE(browser.urls.isEmpty());
  Click(about->Label4, QEvent::MouseButtonPress);
  EXPECT_EQ(browser.urls, QList<QUrl>({QUrl("https://tallowby.net/")}));
  EXPECT_EQ(wAbout::Existing(), about);
}

}  // namespace
}  // namespace lumox

#include "shell_windows_test.moc"
