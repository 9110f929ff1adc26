// The start window, the menus and the About window.
#include <gtest/gtest.h>

#include <QDesktopServices>
#include <QMenuBar>
#include <QMouseEvent>

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

TEST(ShellWindows, StartWindowAsDesigned) {
  UrlCatcher browser;
  wStartup* w = wStartup::Instance();
  EXPECT_EQ(w->minimumSize(), w->maximumSize());  // fixed size; title, size, colours, GO by Return are in ShellE2E
  EXPECT_FALSE(w->windowFlags() & (Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));

  EXPECT_EQ(QStringList({w->Label1->text(), w->Label3->text(), w->PushButton1->text(), w->PushButton2->text()}),
            QStringList({"Lumox", "tallowby.net", "GO", "Quit"}));
  EXPECT_EQ(w->Label2->text(), "When running, press <esc> to stop full screen, \ns for settings, left and right arrow "
                               "keys to \nchange rotation, up arrow to increase speed, \ndown arrow to slow down.");
  EXPECT_TRUE(w->Label1->font().bold() && !w->Label3->font().bold() && w->PushButton1->isDefault() &&
              !w->PushButton2->isDefault());
  EXPECT_EQ(std::pair(w->Label1->font().pixelSize(), w->Label1->alignment() & Qt::AlignHorizontal_Mask),
            std::pair(50, Qt::Alignment(Qt::AlignHCenter)));

  // A double click on the picture opens the maker's site, each time, and starts no flight.
  for (int i = 0; i < 2; ++i) Click(w->Canvas1, QEvent::MouseButtonDblClick);
  EXPECT_EQ(browser.urls, QList<QUrl>(2, QUrl("https://tallowby.net/")));
  EXPECT_TRUE(SurfaceWindow::Existing() == nullptr && wStartup::Existing() == w);
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
  UrlCatcher browser;
  SurfaceWindow* display = SurfaceWindow::Instance();
  display->escaped = true;
  MainMenuBar::Instance().About->trigger();
  wAbout* about = wAbout::Existing();
  ASSERT_TRUE(about && about->isVisible());
  EXPECT_EQ(AppCursor(), Qt::ArrowCursor);
  EXPECT_FALSE(about->Canvas1->pixmap().isNull());  // the title, its lines and colours are in ShellE2E
  EXPECT_EQ(QStringList({about->Label1->text(), about->Label2->text(), about->Label3->text(), about->Label4->text(),
                         about->Label5->text()}),
            QStringList({"Lumox v1", "drift through space", "from Tallowby", "tallowby.net",
                         "Arrow keys for speed/rotation, s for full settings"}));
  // Of its words, the address alone opens the maker's site.
  for (QLabel* label : QList<QLabel*>{about->Label1, about->Label2, about->Label3, about->Label4, about->Label5})
    Click(label, QEvent::MouseButtonPress);
  EXPECT_EQ(browser.urls, QList<QUrl>({QUrl("https://tallowby.net/")}));

  MainMenuBar::Instance().About->trigger();
  EXPECT_EQ(wAbout::Existing(), about);  // the same window while it is open

  about->close();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_TRUE(wAbout::Existing() == nullptr && display->escaped);
  EXPECT_EQ(AppCursor(), Qt::BlankCursor);
  MainMenuBar::Instance().About->trigger();  // a fresh one, at its place again
  ASSERT_NE(wAbout::Existing(), nullptr);
  EXPECT_EQ(wAbout::Existing()->geometry().topLeft(), QPoint(40, 90));
}

}  // namespace
}  // namespace lumox

#include "shell_windows_test.moc"
