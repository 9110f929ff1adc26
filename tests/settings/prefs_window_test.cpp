// The settings window as built, its sliders over the display's fields, its buttons and its keys.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <algorithm>
#include <bit>
#include <map>

#include "display/frame.h"
#include "display/surface_window.h"
#include "settings/prefs_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

// A real key event, delivered where the platform would: to the window's focus widget.
void Key(wPrefs* w, QEvent::Type type, int key) {
  QKeyEvent event(type, key, Qt::NoModifier);
  QWidget* target = w->focusWidget() ? w->focusWidget() : w;
  QCoreApplication::sendEvent(target, &event);
}

void Press(wPrefs* w, int key) {
  Key(w, QEvent::KeyPress, key);
  Key(w, QEvent::KeyRelease, key);
}

// A GL table that only counts the colours given, one to each star drawn.
int g_colours = 0;
const GlApi kCountingGl{
    [](unsigned) {}, [] {}, [](double, double, double, double) {}, [](float, float, float, float) {},
    [](unsigned) {}, [](float) {}, [](unsigned) {}, [](float, float, float) {},
    [](float, float, float, float) {}, [](unsigned) {}, [](double, double, double) { ++g_colours; },
    [](float, float, float) {}, [] {},
};

TEST(PrefsWindow, LaidOutAsDesigned) {
  wPrefs* w = wPrefs::Instance();
  EXPECT_EQ(wPrefs::Instance(), w);
  EXPECT_EQ(w->parentWidget(), SurfaceWindow::Existing());
  EXPECT_EQ(w->windowTitle(), "Settings");
  EXPECT_EQ(w->geometry(), QRect(10, 50, 411, 214));
  EXPECT_EQ(w->minimumSize(), QSize(411, 214));
  EXPECT_EQ(w->maximumSize(), QSize(411, 214));
  const Qt::WindowFlags wanted =
      Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint;
  EXPECT_EQ(w->windowFlags() & wanted, wanted);
  EXPECT_FALSE(w->windowFlags() & (Qt::WindowCloseButtonHint | Qt::WindowMaximizeButtonHint));
  EXPECT_TRUE(w->autoFillBackground());
  EXPECT_EQ(w->palette().color(QPalette::Window), QColor(0xCC, 0xCC, 0xCC));
  EXPECT_TRUE(w->testAttribute(Qt::WA_DeleteOnClose));

  struct Row {
    const char* name;
    QRect geometry;
    const char* text;
  };
  const Row rows[] = {
      {"PushButton1", {311, 181, 80, 20}, "OK"},     {"PushButton2", {219, 181, 80, 20}, "Cancel"},
      {"Slider1", {137, 17, 254, 23}, ""},           {"Label1", {20, 16, 100, 20}, "Speed"},
      {"Slider2", {137, 78, 254, 23}, ""},           {"Label2", {20, 78, 100, 20}, "Number of stars"},
      {"Slider3", {137, 142, 254, 23}, ""},          {"Label3", {20, 142, 100, 20}, "Colour spread"},
      {"Slider4", {137, 46, 254, 23}, ""},           {"Label4", {20, 46, 100, 20}, "Rotation"},
      {"Slider5", {137, 110, 254, 23}, ""},          {"PushButton3", {20, 181, 131, 20}, "Restore Defaults"},
      {"Label5", {20, 110, 100, 20}, "Star size"},   {"Label6_0", {140, 27, 100, 20}, "majestic"},
      {"Label6_1", {327, 27, 64, 20}, "wild"},       {"Label6_3", {327, 59, 64, 20}, "clockwise"},
      {"Label6_2", {140, 59, 100, 20}, "counter clockwise"},
      {"Label6_5", {327, 91, 64, 20}, "crowded"},    {"Label6_4", {140, 91, 100, 20}, "sparse"},
      {"Label6_7", {327, 123, 64, 20}, "blobby"},    {"Label6_6", {140, 123, 100, 20}, "points"},
      {"Label6_9", {327, 155, 64, 20}, "narrow"},    {"Label6_8", {140, 155, 100, 20}, "wide"},
      {"Label6_10", {215, 59, 100, 20}, "none"},
  };
  QList<QWidget*> created;
  for (QObject* child : w->children())
    if (child->isWidgetType()) created << static_cast<QWidget*>(child);
  ASSERT_EQ(created.size(), std::size(rows));
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].name);
    QWidget* c = created[static_cast<int>(i)];  // in the order of creation
    EXPECT_EQ(c->objectName(), rows[i].name);
    EXPECT_EQ(c->geometry(), rows[i].geometry);
    if (auto* b = qobject_cast<QAbstractButton*>(c)) {
      EXPECT_EQ(b->text(), rows[i].text);
    }
    if (auto* l = qobject_cast<QLabel*>(c)) {
      EXPECT_EQ(l->text(), rows[i].text);
      EXPECT_EQ(l->palette().color(QPalette::WindowText), QColor(Qt::black));
      const bool end_word = l->objectName().startsWith("Label6_");
      EXPECT_EQ(l->font().italic(), end_word);
      if (end_word) {
        EXPECT_EQ(l->font().pixelSize(), 10);  // the house's points: one pixel each
      }
    }
    EXPECT_EQ(c->isHidden(), c == w->PushButton2);
  }
  EXPECT_EQ(w->findChild<QLabel*>("Label6_2"), w->Label6[2]);
  const auto align = [](QLabel* l) { return l->alignment() & Qt::AlignHorizontal_Mask; };
  for (int i : {0, 2, 4, 6, 8}) EXPECT_EQ(align(w->Label6[i]), Qt::AlignLeft);
  for (int i : {1, 3, 5, 7, 9}) EXPECT_EQ(align(w->Label6[i]), Qt::AlignRight);
  EXPECT_EQ(align(w->Label6[10]), Qt::AlignHCenter);
  EXPECT_TRUE(w->PushButton1->isDefault());
  EXPECT_FALSE(w->PushButton2->isDefault() || w->PushButton3->isDefault());
  EXPECT_FALSE(w->PushButton3->autoDefault());  // a focused Restore Defaults doesn't take Return

  const std::pair<QSlider*, std::pair<int, int>> ranges[] = {
      {w->Slider1, {2, 1000}}, {w->Slider2, {100, 50000}}, {w->Slider3, {50, 255}},
      {w->Slider4, {-2000, 2000}}, {w->Slider5, {5, 150}}};
  for (const auto& [s, range] : ranges) {
    EXPECT_EQ(s->orientation(), Qt::Horizontal);
    EXPECT_EQ(std::pair(s->minimum(), s->maximum()), range);
    EXPECT_EQ(s->singleStep(), 1);
    EXPECT_EQ(s->pageStep(), 20);
    EXPECT_TRUE(s->hasTracking());
  }

  // Tab goes by TabIndex: the sliders by number, not by row; the hidden Cancel is passed over.
  w->show();
  w->PushButton1->setFocus();
  QList<QWidget*> visited;
  for (int i = 0; i < 7; ++i) {
    Press(w, Qt::Key_Tab);
    visited << w->focusWidget();
  }
  EXPECT_EQ(visited, (QList<QWidget*>{w->Slider1, w->Slider2, w->Slider3, w->Slider4, w->Slider5,
                                      w->PushButton3, w->PushButton1}));
  // Shown where it was placed, over the full-screen display.
  EXPECT_TRUE(testing::RunUntil([&] { return w->isActiveWindow(); }));
  EXPECT_EQ(w->geometry(), QRect(10, 50, 411, 214));
  EXPECT_TRUE(SurfaceWindow::Existing()->isFullScreen());
}

TEST(PrefsWindow, EachSliderWritesItsField) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->StarMax = 28800;
  wPrefs* w = wPrefs::Instance();
  w->Slider1->setValue(158);
  EXPECT_EQ(Bits(d->Speed), 0x3C816F00u);  // the single nearest 0.0158
  EXPECT_EQ(d->Timer2()->Period(), 1);      // 1.82 before truncation
  w->Slider1->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(Bits(d->Speed), 0x3DCCCCCDu);  // the single nearest 0.1
  w->Slider2->setValue(21600);
  EXPECT_EQ(d->StarMax, 21600);
  EXPECT_EQ(d->Timer2()->Period(), 8);
  w->Slider2->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(d->Timer2()->Period(), 20);
  w->Slider3->triggerAction(QAbstractSlider::SliderPageStepSub);
  EXPECT_EQ(d->ColourSpread, 150);
  w->Slider4->setValue(-2000);
  EXPECT_EQ(d->Rotn, -2000);
  w->Slider5->setValue(7);
  EXPECT_EQ(Bits(d->StarSize), 0x3F333333u);  // the single nearest 0.7
  EXPECT_EQ(d->Timer2()->Period(), 20);       // only the speed and count sliders set it
}

TEST(PrefsWindow, LoadingTheSlidersWritesNoField) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->Speed = std::bit_cast<float>(0x3AD1B717u);     // SpeedFromSlider(16): comes back as 15
  d->StarSize = std::bit_cast<float>(0x3FB33333u);  // StarSizeFromSlider(14): comes back as 13
  d->Rotn = 3000;                                   // beyond the slider
  d->StarMax = 100;
  d->ColourSpread = -7;
  d->Timer2()->SetPeriod(7);
  d->ini_file_changed = false;
  wPrefs* w = wPrefs::Instance();
  EXPECT_TRUE(d->ini_file_changed);
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor);
  for (int pass = 0; pass < 3; ++pass) w->Event_Activate();
  EXPECT_EQ(Bits(d->Speed), 0x3AD1B717u);
  EXPECT_EQ(Bits(d->StarSize), 0x3FB33333u);
  EXPECT_EQ(d->Rotn, 3000);
  EXPECT_EQ(d->ColourSpread, -7);
  EXPECT_EQ(d->StarMax, 100);
  EXPECT_EQ(d->Timer2()->Period(), 7);
  // What the sliders show: the truncated integers, held to each slider's range by the slider.
  EXPECT_EQ(w->Slider1->value(), 15);
  EXPECT_EQ(w->Slider2->value(), 100);
  EXPECT_EQ(w->Slider3->value(), 50);
  EXPECT_EQ(w->Slider4->value(), 2000);
  EXPECT_EQ(w->Slider5->value(), 13);

  // Becoming the active window loads what changed meanwhile. A key whose release went to the
  // display while it was in front no longer counts as down here.
  w->show();
  ASSERT_TRUE(testing::RunUntil([&] { return w->isActiveWindow(); }));
  Key(w, QEvent::KeyPress, Qt::Key_Left);
  EXPECT_EQ(d->Rotn, 2980);
  d->activateWindow();
  ASSERT_TRUE(testing::RunUntil([&] { return !w->isActiveWindow(); }));
  d->Rotn = -500;
  w->activateWindow();
  ASSERT_TRUE(testing::RunUntil([&] { return w->isActiveWindow(); }));
  EXPECT_EQ(w->Slider4->value(), -500);
  Press(w, Qt::Key_Up);
  EXPECT_EQ(d->Rotn, -500);
}

TEST(PrefsWindow, RestoreDefaultsGivesTheScreensValues) {
  struct Expected {
    uint32_t star_size;
    int64_t star_max;
    int slider5;
  };
  // DefaultStarSize and DefaultStarMax by screen width, worked out apart.
  const std::map<int, Expected> by_width = {{1024, {0x3F83126Fu, 15360, 10}},
                                            {1280, {0x3FA3D70Au, 19200, 12}},
                                            {1440, {0x3FB851ECu, 21600, 14}},
                                            {1920, {0x3FF5C28Fu, 28800, 19}},
                                            {2560, {0x4023D70Au, 38400, 25}}};
  const int width = QGuiApplication::primaryScreen()->geometry().width();
  ASSERT_TRUE(by_width.count(width)) << width;
  const Expected e = by_width.at(width);
  SurfaceWindow* d = SurfaceWindow::Instance();
  wPrefs* w = wPrefs::Instance();
  // An opened window with no file and no key pressed shows what Restore Defaults would.
  const int shown[] = {w->Slider1->value(), w->Slider2->value(), w->Slider3->value(), w->Slider4->value(),
                       w->Slider5->value()};
  for (QSlider* s : {w->Slider1, w->Slider2, w->Slider3, w->Slider4, w->Slider5})
    s->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(d->Timer2()->Period(), 20);
  w->PushButton3->click();
  EXPECT_EQ(d->Rotn, 35);
  EXPECT_EQ(Bits(d->Speed), 0x3B656042u);
  EXPECT_EQ(d->ColourSpread, 170);
  EXPECT_EQ(Bits(d->StarSize), e.star_size);
  EXPECT_EQ(d->StarMax, e.star_max);
  EXPECT_EQ(d->Timer2()->Period(), 0);
  const int restored[] = {w->Slider1->value(), w->Slider2->value(), w->Slider3->value(), w->Slider4->value(),
                          w->Slider5->value()};
  EXPECT_TRUE(std::ranges::equal(restored, std::array{35, static_cast<int>(e.star_max), 170, 35, e.slider5}));
  EXPECT_TRUE(std::ranges::equal(shown, restored));
  EXPECT_TRUE(wPrefs::Existing());
}

TEST(PrefsWindow, FewerStarsAreDrawnAtOnceAndMoreComeBackUnfilled) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  wPrefs* w = wPrefs::Instance();
  const StarData kept = d->Star[101];
  const auto stars_drawn = [&] {
    g_colours = 0;
    Surface_Render(*d, kCountingGl);
    return g_colours;
  };
  w->Slider2->triggerAction(QAbstractSlider::SliderToMinimum);
  EXPECT_EQ(stars_drawn(), 100);
  w->Slider2->setValue(101);
  EXPECT_EQ(stars_drawn(), 101);
  using Bytes = std::array<char, sizeof(StarData)>;
  EXPECT_EQ(std::bit_cast<Bytes>(d->Star[101]), std::bit_cast<Bytes>(kept));
}

TEST(PrefsWindow, ClosingHidesThePointerAndKeepsWhatWasMoved) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  // Escape on the display first: closing the settings hides the pointer in a windowed run too.
  QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
  QCoreApplication::sendEvent(d, &escape);
  ASSERT_TRUE(d->escaped);
  wPrefs* w = wPrefs::Instance();
  w->show();
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor);
  w->Slider4->setValue(-1234);
  w->PushButton2->click();  // the hidden Cancel: nothing to undo
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
  EXPECT_EQ(wPrefs::Existing(), nullptr);
  EXPECT_EQ(d->Rotn, -1234);
  EXPECT_FALSE(d->isFullScreen());

  // A fresh window; Return presses OK even with Restore Defaults in focus.
  wPrefs* again = wPrefs::Instance();
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor);
  again->show();
  again->PushButton3->setFocus();
  Press(again, Qt::Key_Return);
  EXPECT_EQ(wPrefs::Existing(), nullptr);
  EXPECT_EQ(d->Rotn, -1234);
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
  EXPECT_TRUE(d->ini_file_changed);
}

TEST(PrefsWindow, ArrowKeysSteerAndTheSlidersFollow) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  wPrefs* w = wPrefs::Instance();
  w->show();
  w->Slider4->setFocus();
  ASSERT_EQ(w->focusWidget(), w->Slider4);
  Press(w, Qt::Key_Left);  // the focused slider doesn't take the key for itself
  EXPECT_EQ(d->Rotn, 15);
  EXPECT_EQ(w->Slider4->value(), 15);

  Press(w, Qt::Key_Down);
  EXPECT_EQ(Bits(d->Speed), 0x3A831270u);  // about 0.001
  EXPECT_EQ(w->Slider1->value(), 10);
  Press(w, Qt::Key_Down);
  EXPECT_EQ(Bits(d->Speed), 0x3951B717u);  // the floor, 0.0002: integer 1, which the slider shows as 2
  EXPECT_EQ(w->Slider1->value(), 2);
  Press(w, Qt::Key_Up);
  EXPECT_EQ(Bits(d->Speed), 0x3B30F27Cu);  // about 0.0027
  EXPECT_EQ(w->Slider1->value(), 27);

  // Held keys all count at the next press; `s` and Return change nothing by themselves.
  d->Speed = std::bit_cast<float>(0x3DCCCCCDu);
  d->StarMax = 21600;
  d->Timer2()->SetPeriod(3);
  Key(w, QEvent::KeyPress, Qt::Key_Right);
  Key(w, QEvent::KeyPress, Qt::Key_Up);
  EXPECT_EQ(d->Rotn, 55);
  EXPECT_EQ(Bits(d->Speed), 0x3DCCCCCDu);  // stays at the ceiling
  EXPECT_EQ(d->Timer2()->Period(), 8);
  EXPECT_EQ(w->Slider1->value(), 1000);
  Key(w, QEvent::KeyRelease, Qt::Key_Right);
  Key(w, QEvent::KeyRelease, Qt::Key_Up);
  Press(w, Qt::Key_S);
  EXPECT_EQ(d->Rotn, 55);
  EXPECT_EQ(wPrefs::Existing(), w);
}

TEST(PrefsWindow, EscapeMinimisesAndResizesEveryTimeAndLeavesTheDisplayAlone) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  wPrefs* w = wPrefs::Instance();
  w->show();
  ASSERT_TRUE(testing::RunUntil([&] { return w->isActiveWindow(); }));
  w->Slider2->setFocus();
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    Press(w, Qt::Key_Escape);
    EXPECT_TRUE(w->isMinimized());
    EXPECT_EQ(w->geometry(), QRect(20, 50, 400, 400));
    EXPECT_EQ(w->minimumSize(), QSize(400, 400));
    EXPECT_EQ(wPrefs::Existing(), w);
    EXPECT_TRUE(w->isVisible());
    testing::RunEventLoop(300);
    EXPECT_TRUE(d->isFullScreen());
    EXPECT_FALSE(d->escaped);
    // The display's `s` brings this same window back.
    QKeyEvent s(QEvent::KeyPress, Qt::Key_S, Qt::NoModifier, QStringLiteral("s"));
    QCoreApplication::sendEvent(d, &s);
    QKeyEvent s_up(QEvent::KeyRelease, Qt::Key_S, Qt::NoModifier, QStringLiteral("s"));
    QCoreApplication::sendEvent(d, &s_up);
    EXPECT_EQ(wPrefs::Existing(), w);
    EXPECT_FALSE(w->isMinimized());
    ASSERT_TRUE(testing::RunUntil([&] { return w->isActiveWindow(); }));
  }
}

}  // namespace
}  // namespace lumox
