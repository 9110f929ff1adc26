// The settings window as built, its sliders over the display's fields, its buttons and its keys.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <algorithm>
#include <bit>
#include <map>
#include <tuple>

#include "display/surface_window.h"
#include "settings/prefs_window.h"
#include "display/frame.h"
#include "support/gl_recorder.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

// A real key event, delivered where the platform would: to the window's focus widget.
void Key(wPrefs* w, QEvent::Type type, int key) {
  QKeyEvent event(type, key, Qt::NoModifier);
  QCoreApplication::sendEvent(w->focusWidget() ? w->focusWidget() : w, &event);
}

void Press(wPrefs* w, int key) {
  Key(w, QEvent::KeyPress, key);
  Key(w, QEvent::KeyRelease, key);
}

Qt::CursorShape Cursor() { return QGuiApplication::overrideCursor()->shape(); }

std::array<int, 5> Sliders(wPrefs* w) {
  return {w->Slider1->value(), w->Slider2->value(), w->Slider3->value(), w->Slider4->value(), w->Slider5->value()};
}

TEST(PrefsWindow, LaidOutAsDesigned) {
  wPrefs* w = wPrefs::Instance();
  EXPECT_EQ(w->parentWidget(), SurfaceWindow::Existing());
  EXPECT_EQ(w->windowTitle(), "Settings");
  EXPECT_EQ(w->minimumSize(), w->maximumSize());  // its place and size are checked on screen (PrefsE2E)
  const Qt::WindowFlags wanted =
      Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint;
  EXPECT_EQ(w->windowFlags() & wanted, wanted);
  EXPECT_FALSE(w->windowFlags() & (Qt::WindowCloseButtonHint | Qt::WindowMaximizeButtonHint));
  EXPECT_TRUE(w->testAttribute(Qt::WA_DeleteOnClose));

  struct Row { const char* name; QRect geometry; const char* text; };
  const Row rows[] = {  // in the order of creation
      {"PushButton1", {311, 181, 80, 20}, "OK"}, {"PushButton2", {219, 181, 80, 20}, "Cancel"},
      {"Slider1", {137, 17, 254, 23}, ""},   {"Label1", {20, 16, 100, 20}, "Speed"},
      {"Slider2", {137, 78, 254, 23}, ""},   {"Label2", {20, 78, 100, 20}, "Number of stars"},
      {"Slider3", {137, 142, 254, 23}, ""},  {"Label3", {20, 142, 100, 20}, "Colour spread"},
      {"Slider4", {137, 46, 254, 23}, ""},   {"Label4", {20, 46, 100, 20}, "Rotation"},
      {"Slider5", {137, 110, 254, 23}, ""},  {"PushButton3", {20, 181, 131, 20}, "Restore Defaults"},
      {"Label5", {20, 110, 100, 20}, "Star size"},  {"Label6_0", {140, 27, 100, 20}, "majestic"},
      {"Label6_1", {327, 27, 64, 20}, "wild"},      {"Label6_3", {327, 59, 64, 20}, "clockwise"},
      {"Label6_2", {140, 59, 100, 20}, "counter clockwise"}, {"Label6_5", {327, 91, 64, 20}, "crowded"},
      {"Label6_4", {140, 91, 100, 20}, "sparse"},   {"Label6_7", {327, 123, 64, 20}, "blobby"},
      {"Label6_6", {140, 123, 100, 20}, "points"},  {"Label6_9", {327, 155, 64, 20}, "narrow"},
      {"Label6_8", {140, 155, 100, 20}, "wide"},    {"Label6_10", {215, 59, 100, 20}, "none"},
  };
  QList<QWidget*> created;
  for (QObject* child : w->children())
    if (child->isWidgetType()) created << static_cast<QWidget*>(child);
  ASSERT_EQ(created.size(), std::size(rows));
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].name);
    QWidget* c = created[static_cast<int>(i)];
    EXPECT_EQ(c->objectName(), rows[i].name);
    EXPECT_EQ(c->geometry(), rows[i].geometry);
    EXPECT_EQ(c->isHidden(), c == w->PushButton2);
    if (auto* b = qobject_cast<QAbstractButton*>(c)) { EXPECT_EQ(b->text(), rows[i].text); }
    if (auto* l = qobject_cast<QLabel*>(c)) {
      EXPECT_EQ(l->text(), rows[i].text);
      // End words: even indexes at a slider's left end, odd at its right, 10 in the middle.
      const int end = l->objectName().startsWith("Label6_") ? l->objectName().mid(7).toInt() : -1;
      const Qt::Alignment align = end == 10 ? Qt::AlignHCenter : end % 2 == 1 ? Qt::AlignRight : Qt::AlignLeft;
      EXPECT_EQ(l->alignment() & Qt::AlignHorizontal_Mask, align);
      EXPECT_EQ(l->font().italic(), end >= 0);
      if (end >= 0) { EXPECT_EQ(l->font().pixelSize(), 10); }  // the house's points: one pixel each
    }
  }
  const std::tuple<QSlider*, int, int> ranges[] = {{w->Slider1, 2, 1000}, {w->Slider2, 100, 50000},
      {w->Slider3, 50, 255}, {w->Slider4, -2000, 2000}, {w->Slider5, 5, 150}};
  for (auto [s, low, high] : ranges) {
    EXPECT_EQ(std::pair(s->minimum(), s->maximum()), std::pair(low, high));
    EXPECT_TRUE(s->orientation() == Qt::Horizontal && s->singleStep() == 1 && s->pageStep() == 20 &&
                s->hasTracking()) << low;
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
}

TEST(PrefsWindow, EachSliderWritesItsFieldAndTouchesNoStar) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->StarMax = 28800;
  const std::vector<StarData> stars = d->Star;
  wPrefs* w = wPrefs::Instance();
  w->Slider1->setValue(158);
  EXPECT_EQ(Bits(d->Speed), 0x3C816F00u);  // the single nearest 0.0158
  EXPECT_EQ(d->Timer2()->Period(), 1);      // 1.82 before truncation
  w->Slider1->triggerAction(QAbstractSlider::SliderToMaximum);
  w->Slider2->setValue(21600);
  EXPECT_EQ(d->StarMax, 21600);
  EXPECT_EQ(d->Timer2()->Period(), 8);  // 8.64 at the single nearest 0.1
  w->Slider2->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(d->Timer2()->Period(), 20);
  w->Slider3->triggerAction(QAbstractSlider::SliderPageStepSub);
  EXPECT_EQ(d->ColourSpread, 150);
  w->Slider4->setValue(-2000);
  EXPECT_EQ(d->Rotn, -2000);
  w->Slider5->setValue(7);
  EXPECT_EQ(Bits(d->StarSize), 0x3F333333u);  // the single nearest 0.7
  EXPECT_EQ(d->Timer2()->Period(), 20);       // only the speed and count sliders set it
  // Fewer stars are only fewer visited; more come back as they were, with no new fill.
  const auto fill = [](const StarData& s) { return std::tuple(s.x, s.y, s.z, s.red, s.green, s.blue, s.brightness); };
  EXPECT_TRUE(std::ranges::equal(d->Star, stars, {}, fill, fill));
}

TEST(PrefsWindow, FewestStarsOnTheNextFrame) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  wPrefs::Instance()->Slider2->triggerAction(QAbstractSlider::SliderToMinimum);
  testing::GlRecorder gl(d);
  Surface_Render(*d, gl.Api());
  const auto vertices = std::ranges::count(gl.Calls(), std::string("glVertex3f"), &testing::GlCall::name);
  EXPECT_EQ(vertices, 100 + 2);  // the live stars and the two fixed points
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
  EXPECT_EQ(std::tuple(Bits(d->Speed), Bits(d->StarSize), d->Rotn, d->ColourSpread, d->StarMax, d->Timer2()->Period()),
            std::tuple(0x3AD1B717u, 0x3FB33333u, 3000, -7, 100, 7));
  // The truncated integers, held to each slider's range by the slider.
  EXPECT_EQ(Sliders(w), (std::array{15, 100, 50, 2000, 13}));

  // Becoming the active window loads what changed meanwhile. A key whose release went to the
  // display while it was in front no longer counts as down here.
  ASSERT_TRUE(testing::RunUntil([&] { return d->isActiveWindow(); }));  // the display's own request
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
  // StarSize bits, StarMax and Slider5 by screen width, worked out apart.
  const std::map<int, std::tuple<uint32_t, int, int>> by_width = {{1440, {0x3FB851ECu, 21600, 14}},
                                                                  {1920, {0x3FF5C28Fu, 28800, 19}}};
  const int width = QGuiApplication::primaryScreen()->geometry().width();
  ASSERT_TRUE(by_width.count(width)) << width;
  const auto [star_size, star_max, slider5] = by_width.at(width);
  SurfaceWindow* d = SurfaceWindow::Instance();
  wPrefs* w = wPrefs::Instance();
  // An opened window with no file and no key pressed shows what Restore Defaults would.
  const std::array<int, 5> shown = Sliders(w);
  for (QSlider* s : {w->Slider1, w->Slider2, w->Slider3, w->Slider4, w->Slider5})
    s->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(d->Timer2()->Period(), 20);
  w->PushButton3->click();
  EXPECT_EQ(std::tuple(d->Rotn, Bits(d->Speed), d->ColourSpread, Bits(d->StarSize), d->StarMax, d->Timer2()->Period()),
            std::tuple(35, 0x3B656042u, 170, star_size, star_max, 0));
  EXPECT_EQ(Sliders(w), (std::array{35, star_max, 170, 35, slider5}));
  EXPECT_EQ(shown, Sliders(w));
  EXPECT_TRUE(wPrefs::Existing());
}

// Return pressing OK with Restore Defaults in focus is driven end to end (PrefsE2E).
TEST(PrefsWindow, CancelHidesThePointerAndKeepsWhatWasMoved) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  // Escape on the display first: closing the settings hides the pointer in a windowed run too.
  QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
  QCoreApplication::sendEvent(d, &escape);
  ASSERT_TRUE(d->escaped);
  wPrefs* w = wPrefs::Instance();
  w->show();
  EXPECT_EQ(Cursor(), Qt::ArrowCursor);
  w->Slider4->setValue(-1234);
  w->PushButton2->click();  // the hidden Cancel: nothing to undo
  EXPECT_EQ(Cursor(), Qt::BlankCursor);
  EXPECT_EQ(wPrefs::Existing(), nullptr);
  EXPECT_EQ(d->Rotn, -1234);
  EXPECT_FALSE(d->isFullScreen());
}

TEST(PrefsWindow, ArrowsSteerWithTheSlidersFollowingAndEscapeOnlyMinimises) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  ASSERT_TRUE(testing::RunUntil([&] { return d->isActiveWindow(); }));  // the display's own request
  wPrefs* w = wPrefs::Instance();
  w->show();
  ASSERT_TRUE(testing::RunUntil([&] { return w->isActiveWindow(); }));
  w->Slider4->setFocus();
  ASSERT_EQ(w->focusWidget(), w->Slider4);
  Press(w, Qt::Key_Left);  // the focused slider doesn't take the key for itself
  EXPECT_EQ(d->Rotn, 15);
  EXPECT_EQ(w->Slider4->value(), 15);
  d->Timer2()->SetPeriod(3);
  Press(w, Qt::Key_Down);
  EXPECT_EQ(Bits(d->Speed), 0x3A831270u);  // about 0.001, not the slider's 10 written back
  EXPECT_EQ(w->Slider1->value(), 10);
  EXPECT_EQ(d->Timer2()->Period(), 0);
  Press(w, Qt::Key_Down);
  EXPECT_EQ(Bits(d->Speed), 0x3951B717u);  // the floor, 0.0002: integer 1, which the slider shows as 2
  EXPECT_EQ(w->Slider1->value(), 2);

  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    Press(w, Qt::Key_Escape);
    EXPECT_TRUE(w->isMinimized());
    EXPECT_EQ(w->geometry(), QRect(20, 50, 400, 400));
    EXPECT_TRUE(wPrefs::Existing() == w && w->isVisible());
    testing::RunEventLoop(300);
    EXPECT_TRUE(d->isFullScreen());
    EXPECT_FALSE(d->escaped);
    // The display's `s` brings this same window back.
    for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
      QKeyEvent s(type, Qt::Key_S, Qt::NoModifier, QStringLiteral("s"));
      QCoreApplication::sendEvent(d, &s);
    }
    EXPECT_EQ(wPrefs::Existing(), w);
    EXPECT_FALSE(w->isMinimized());
    ASSERT_TRUE(testing::RunUntil([&] { return w->isActiveWindow(); }));
  }
}

}  // namespace
}  // namespace lumox
