// Widget and GL tests, run inside one real QApplication on the test display with the settings
// folder pointed at a temporary directory, so the user's own settings are never touched. Each
// test starts as a fresh run would: no window, no pointer override, an empty data folder.
#include <GL/gl.h>
#include <GL/glu.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QCursor>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <bit>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "desktop/qt_screens.h"
#include "display/surface_window.h"
#include "flight/fps_readout.h"
#include "settings/prefs_format.h"
#include "settings/prefs_store.h"
#include "settings/prefs_window.h"
#include "shell/about_window.h"
#include "shell/app.h"
#include "shell/launch.h"
#include "shell/my_lib.h"
#include "shell/startup_window.h"
#include "support/defaults_table.h"
#include "support/pixels.h"

namespace lumox {
namespace {

uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }
float FromBits(uint32_t bits) { return std::bit_cast<float>(bits); }

// Runs a real event loop, one that waits for events as the application's does, for `ms`.
void RunEventLoop(int ms) {
  QEventLoop loop;
  QTimer::singleShot(ms, &loop, &QEventLoop::quit);
  loop.exec();
}

// The same, until `done` holds or `ms` pass; gives whether it held.
bool RunUntil(const std::function<bool()>& done, int ms = 60000) {
  QEventLoop loop;
  QElapsedTimer clock;
  clock.start();
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, [&] { if (done() || clock.elapsed() > ms) loop.quit(); });
  poll.start(20);
  loop.exec();
  return done();
}

// A press and release of `key`, delivered where the platform would: to the focus widget.
void Press(QWidget* window, int key, const QString& text = {}) {
  for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(window->focusWidget() ? window->focusWidget() : window, &event);
  }
}

Qt::CursorShape AppCursor() {
  return QGuiApplication::overrideCursor() ? QGuiApplication::overrideCursor()->shape() : Qt::ArrowCursor;
}

// The settings file where a user finds it: "LumoxPrefs" straight in the data folder.
QString PrefsPath() { return qEnvironmentVariable("XDG_DATA_HOME") + "/LumoxPrefs"; }

bool WritePrefs(const QByteArray& text) {
  QFile file(PrefsPath());
  return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

QByteArray ReadPrefs() {
  QFile file(PrefsPath());
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// `row`: a first start's defaults on a screen this wide; the test is skipped on a width the table has not.
#define SCREEN_DEFAULTS(row)                                                                          \
  const testing::ScreenDefaults* row = testing::DefaultsFor(QGuiApplication::primaryScreen()->geometry().width()); \
  if (!row) GTEST_SKIP() << "no table of defaults for a screen this wide: run on one 1024, 1280, 1440, 1920, 2560 or 3840 wide"

TEST(DisplayWindow, FirstOpeningTakesTheScreenWithItsDefaults) {
  SCREEN_DEFAULTS(row);
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_TRUE(w->isFullScreen() && !w->menuBar()->isVisible() && !w->escaped);
  EXPECT_EQ(std::pair(AppCursor(), w->Timer1()->interval()), std::pair(Qt::BlankCursor, 30));

  w->Event_Close();  // no file was there: the screen's defaults are written, once
  EXPECT_EQ(ReadPrefs(), row->file);
  QFile::remove(PrefsPath());
  w->Event_Close();
  EXPECT_FALSE(QFile::exists(PrefsPath()));
}

TEST(DisplayWindow, AFilesValuesAreTakenAsTheyStandButTheStarCountIsHeld) {
  ASSERT_TRUE(WritePrefs("3000\n0.1\n-7\n15\n90000\n"));
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_EQ(std::tuple(w->Rotn, w->Speed, w->ColourSpread, w->StarSize, w->StarMax, w->Timer2()->Period()),
            std::tuple(3000, 0.1f, -7, 15.0f, 50000, 20));
  for (int key : {Qt::Key_Up, Qt::Key_Left}) Press(w, key);
  w->Event_Close();  // the file was there and the settings window never opened: it stays as it was
  EXPECT_EQ(ReadPrefs(), "3000\n0.1\n-7\n15\n90000\n");
}

TEST(DisplayWindow, KeysSteerTheFlightAndEscapeLeavesFullScreenOnce) {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->StarMax = 50000;
  w->Speed = 0.1f;
  w->Timer2()->SetPeriod(7);
  Press(w, Qt::Key_Down);  // ~0.0975: 19.5 before truncation
  EXPECT_EQ(w->Timer2()->Period(), 19);
  Press(w, Qt::Key_Up);
  EXPECT_EQ(std::pair(Bits(w->Speed), w->Timer2()->Period()), std::pair(0x3DCCCCCDu, int64_t{20}));
  for (int key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Right}) Press(w, key);
  EXPECT_EQ(w->Rotn, 15);

  Press(w, Qt::Key_Escape);  // the geometry is read at once, before the window manager has a say
  EXPECT_TRUE(w->escaped && w->menuBar()->isVisible() && !w->isFullScreen()) << w->isFullScreen();
  EXPECT_EQ(w->geometry(), QRect(20, 50, 600, 400));
  w->setGeometry(120, 140, 500, 300);  // where the user puts it, a second escape leaves it
  Press(w, Qt::Key_Escape);
  EXPECT_TRUE(w->escaped && !w->isFullScreen() && w->geometry() == QRect(120, 140, 500, 300)) << w->geometry().x();
}

TEST(EventLoop, NoLiveStarIsBehindTheCameraWhenTheLoopWaits) {  // the sweep runs after every frame
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->Speed = 0.05f;  // every frame passes some stars
  w->StarMax = 50000;
  w->Timer2()->SetPeriod(0);
  int64_t passes = 0, behind = 0;
  const float start_z = w->CameraZ;
  // Connected after the window's own sweep, so it sees the stars as the sweep left them.
  auto hook = QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, [&] {
    ++passes;
    for (int64_t i = 1; i <= w->StarMax; ++i) behind += w->Star[i].z > w->CameraZ;
  });
  QElapsedTimer clock;
  clock.start();
  EXPECT_TRUE(RunUntil([&] { return w->CameraZ < start_z - 1.0f; }));  // 20 frames of 0.05
  QObject::disconnect(hook);
  EXPECT_LT(passes, clock.elapsed() / 2);  // the loop sleeps rather than spinning
  EXPECT_EQ(behind, 0);
}

TEST(EventLoop, Timer2SwitchesBetweenLoopPassesAndAPeriod) {
  int fired = 0, wakes = 0;
  SweepTimer timer([&] { ++fired; });
  QTimer wake;  // something for the loop to wake up for, every 2 ms; every other wake moves something
  QObject::connect(&wake, &QTimer::timeout, [&] { if (++wakes % 2) timer.Arm(); });
  wake.start(2);
  timer.SetPeriod(-8);  // from a hand-edited file: ticks as often as the loop allows
  EXPECT_EQ(timer.Period(), 0);
  EXPECT_TRUE(RunUntil([&] { return fired > 50; }));
  EXPECT_LE(fired, (wakes + 1) / 2 + 1);  // one sweep for each time something moved, not one a pass

  fired = 0;
  timer.SetPeriod(20);  // and no longer on every pass
  QElapsedTimer clock;
  clock.start();
  RunEventLoop(500);
  EXPECT_TRUE(fired > 0 && fired <= clock.elapsed() / 20 + 1) << fired;
}

// The display window on screen, drawing frames only when the test asks for them.
SurfaceWindow* StillWindow() {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->Timer1()->stop();
  EXPECT_TRUE(RunUntil([&] { return w->Surface()->isExposed(); }));
  return w;
}

// One white star 3.6 ahead, off the axis: seen once 0.6 nearer, then further out as it nears.
TEST(GlSurface, AStarComesIntoViewAndMovesOutwardAsTheCameraFlies) {
  SurfaceWindow* w = StillWindow();
  w->StarMax = 1;
  w->Rotn = 0;
  w->Speed = 0.25f;
  w->StarSize = 4.0f;
  w->Star[1] = {.x = 0.3f, .z = w->CameraZ - 3.6f, .cred = 1.0f, .cgreen = 1.0f, .cblue = 1.0f};
  int lit[6];
  double distance[6];
  for (int frame = 0; frame < 6; ++frame) {
    const QImage image = w->RenderAndCapture().convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    lit[frame] = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x)
        if (qRed(image.pixel(x, y)) > 100) sum += x, ++lit[frame];
    distance[frame] = lit[frame] ? sum / lit[frame] - image.width() / 2.0 : 0.0;
  }
  EXPECT_EQ(lit[0] + lit[1], 0);  // depths 3.35 and 3.1
  EXPECT_GT(lit[2], 0);           // depth 2.85
  EXPECT_GT(lit[5], 0);           // depth 2.1
  EXPECT_TRUE(distance[3] > distance[2] && distance[5] > distance[4]);
}

// An output as wide and high as all the outputs of a span shows the picture of a flight of its own:
// the whole's cut is gluPerspective's own matrix, wherever the box stands.
TEST(GlSurface, TheCutOfTheWholeIsGluPerspectivesMatrix) {
  StillWindow()->RenderAndCapture();  // leaves the surface's context current
  float glu[16], cut[16];
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(kFovy, kAspect, kNear, kFar);
  glGetFloatv(GL_PROJECTION_MATRIX, glu);
  for (const ViewRect& box : {ViewRect{0, 0, 1920, 1080}, ViewRect{-1280, 56, 4480, 1068}}) {
    glLoadMatrixd(CutPerspective(box, box).data());
    glGetFloatv(GL_PROJECTION_MATRIX, cut);
    EXPECT_EQ(std::memcmp(glu, cut, sizeof glu), 0) << box.x;
  }
}

TEST(FpsReadout, ItIsBlendedOverTheFrameAndGivesItsGlStateBack) {
  StillWindow()->RenderAndCapture();
  glClearColor(1, 1, 1, 1);  // over white the readout's box shows whether it was blended
  glClear(GL_COLOR_BUFFER_BIT);
  const QImage picture = ReadoutPicture(QStringLiteral("30 fps  CPU 25%")).mirrored();
  DrawOverlay({picture.width(), picture.height(), picture.constBits()}, 20, 30, MesaOverlayGl());
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  GLint depth = -1;
  glGetIntegerv(GL_ATTRIB_STACK_DEPTH, &depth);
  EXPECT_TRUE(depth == 0 && !glIsEnabled(GL_BLEND));
  GLubyte box[4] = {};
  glReadPixels(22, 30 + picture.height() / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, box);
  EXPECT_NEAR(box[0], 255 - 160, 2);  // white under black of alpha 160, left of the text
}

// One output of a span: a corner of the display window's surface the size of the output, whose
// picture is read back at each swap.
struct Corner : DrawTarget {
  Corner(OpenGLSurface* surface, QSize size) : surface(surface), size(size) {}
  bool MakeCurrent() override { return surface->MakeCurrent(); }
  int DeviceWidth() const override { return size.width(); }
  int DeviceHeight() const override { return size.height(); }
  double PixelRatio() const override { return 1.0; }
  void Swap() override {
    picture = QImage(size, QImage::Format_RGBA8888);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, size.width(), size.height(), GL_RGBA, GL_UNSIGNED_BYTE, picture.bits());
    picture = picture.mirrored().convertToFormat(QImage::Format_RGB32);
  }
  OpenGLSurface* surface;
  QSize size;
  QImage picture;
};

// Pixels of `a` whose colour is nowhere within a pixel of their place in `b`. Another matrix may
// round a star's centre the other way, a pixel off; a wrong cut, or a star lost at an edge, is more.
int Unmatched(const QImage& a, const QImage& b) {
  int unmatched = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      bool near = false;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) near |= b.valid(x + dx, y + dy) && b.pixel(x + dx, y + dy) == a.pixel(x, y);
      unmatched += !near;
    }
  return unmatched;
}

// Each output of a span shows its part of the picture one surface the size of their bounding box
// shows: two outputs in a row, and two of different sizes, one lower than the other.
TEST(GlSurface, EachOutputOfASpanShowsItsPartOfTheBoxsPicture) {
  SurfaceWindow* w = StillWindow();
  // A camera that stands still: every view sees the same field from the same place.
  w->TakeOff({.Rotn = 0, .Speed = 0.0f, .StarSize = 8.0f, .StarMax = 50000});
  w->Timer1()->stop();
  const ViewRect box{0, 0, 320, 180};
  Corner whole(w->Surface(), {320, 180});
  w->SetViews({{&whole, box, box}});
  w->Render();
  ASSERT_GT(testing::LitPixels(whole.picture), 200);
  for (const auto& [a, b] : {std::pair{ViewRect{0, 0, 160, 180}, ViewRect{160, 0, 160, 180}},
                             {ViewRect{0, 0, 200, 180}, ViewRect{200, 60, 120, 100}}}) {
    Corner one(w->Surface(), QSize(int(a.width), int(a.height))), two(w->Surface(), QSize(int(b.width), int(b.height)));
    w->SetViews({{&one, a, box}, {&two, b, box}});
    w->Render();
    for (const auto& [corner, part] : {std::pair{&one, a}, {&two, b}}) {
      const QImage expected = whole.picture.copy(int(part.x), int(part.y), int(part.width), int(part.height));
      EXPECT_EQ(Unmatched(expected, corner->picture) + Unmatched(corner->picture, expected), 0) << part.x << "," << part.y;
    }
  }
  w->SetViews({});
}

// What a covered output does: nothing wakes the process while paused, and a flight resumed
// recycles again (a field never swept goes black within a minute and a half).
TEST(Flight, APauseStopsBothTimersAndAResumeStartsBoth) {
  struct Covered : DrawTarget {
    bool MakeCurrent() override { return false; }
    int DeviceWidth() const override { return 800; }
    int DeviceHeight() const override { return 600; }
    double PixelRatio() const override { return 1.0; }
    void Swap() override {}
  } target;
  Flight flight;
  flight.SetTarget(&target);
  flight.Pause();
  EXPECT_FALSE(flight.Paused());  // nothing to pause before take-off
  for (const auto& [speed, stars] : {std::pair{0.1f, int64_t{50000}}, {0.0035f, int64_t{20000}}}) {
    flight.TakeOff({.Speed = speed, .StarMax = stars});
    const int64_t period = flight.Timer2()->Period();
    ASSERT_EQ(period, Timer2Period(stars, speed));
    flight.Pause();
    EXPECT_TRUE(flight.Paused() && !flight.Timer1()->isActive());
    EXPECT_EQ(flight.Timer2()->Period(), -1) << speed;  // stopped, even at a period of 0
    flight.Resume();
    EXPECT_TRUE(!flight.Paused() && flight.Timer1()->isActive());
    EXPECT_EQ(flight.Timer2()->Period(), period) << speed;
  }
}

// GL draws a picture bottom row first: the readout's rows come so, and its text stands upright.
TEST(FpsReadout, ItsPictureIsTheTextWithItsBottomRowFirst) {
  FpsReadout readout;
  OverlayPicture picture;
  ASSERT_TRUE(RunUntil([&] { return (picture = readout.Frame()).pixels != nullptr; }, 5000));
  const auto upright = [](const OverlayPicture& p) {
    return QImage(static_cast<const uchar*>(p.pixels), p.width, p.height, QImage::Format_RGBA8888_Premultiplied).mirrored();
  };
  EXPECT_EQ(upright(picture), ReadoutPicture(readout.Text()));
  const OverlayPicture twice = readout.Frame(2.0);  // on an output of scale 2: twice the size, at once
  EXPECT_EQ(upright(twice), ReadoutPicture(readout.Text(), 2.0));
  EXPECT_NEAR(twice.height, 2 * picture.height, 2);
  EXPECT_NEAR(twice.width, 2 * picture.width, 6);
}

struct Heard : DesktopSink {
  std::vector<std::string> lines;
  void OutputAdded(uint32_t output) override { lines.push_back("added " + std::to_string(output)); }
  void OutputDescribed(uint32_t output, const std::string& name) override {
    lines.push_back("described " + std::to_string(output) + " " + name);
  }
  void OutputRemoved(uint32_t output) override { lines.push_back("removed " + std::to_string(output)); }
  void OutputReshaped(uint32_t output) override { lines.push_back("reshaped " + std::to_string(output)); }
  void SurfaceReady(uint32_t, int) override {}
  void SurfaceRedraw(uint32_t) override {}
  void SurfaceCovered(uint32_t, bool) override {}
  void SurfaceClosed(uint32_t) override {}
  void SurfaceFailed(const std::string&) override {}
  void UserInput(const InputEvent&) override {}
  void ConnectionLost(const std::string&) override {}
};

// A monitor given a new mode keeps its QScreen: its output is reshaped, its surface made anew.
TEST(QtScreens, EachScreenIsAnOutputByItsNameAndOneWithANewGeometryIsReshaped) {
  Heard heard;
  QtScreens screens(heard);
  screens.Watch();
  QScreen* first = QGuiApplication::screens().value(0);
  ASSERT_TRUE(first && heard.lines.size() >= 2);
  EXPECT_EQ(std::vector(heard.lines.begin(), heard.lines.begin() + 2),
            (std::vector<std::string>{"added 1", "described 1 " + first->name().toStdString()}));
  EXPECT_EQ(screens.Screen(1), first);
  heard.lines.clear();
  emit first->geometryChanged(QRect(0, 0, 800, 600));
  EXPECT_EQ(heard.lines, std::vector<std::string>{"reshaped 1"});
}

std::array<int, 5> Sliders(wPrefs* w) {
  return {w->Slider1->value(), w->Slider2->value(), w->Slider3->value(), w->Slider4->value(), w->Slider5->value()};
}

// The settings window in front, once the display's own request for the focus has been met.
wPrefs* ActivePrefs() {
  EXPECT_TRUE(RunUntil([] { return SurfaceWindow::Instance()->isActiveWindow(); }));
  wPrefs* w = wPrefs::Instance();
  w->show();
  EXPECT_TRUE(RunUntil([&] { return w->isActiveWindow(); }));
  return w;
}

TEST(PrefsWindow, LaidOutAsDesigned) {
  wPrefs* w = wPrefs::Instance();
  EXPECT_EQ(w->geometry(), QRect(10, 50, 411, 214));  // as asked of the window manager
  EXPECT_EQ(w->windowTitle(), "Settings");
  EXPECT_EQ(w->minimumSize(), w->maximumSize());
  const Qt::WindowFlags buttons = Qt::WindowCloseButtonHint | Qt::WindowMaximizeButtonHint | Qt::WindowMinimizeButtonHint;
  EXPECT_EQ(w->windowFlags() & buttons, Qt::WindowMinimizeButtonHint);

  // The words on the window, in the order of creation; the end words are small italics.
  QStringList words;
  for (QObject* child : w->children()) {
    if (auto* b = qobject_cast<QAbstractButton*>(child)) words << b->text();
    if (auto* l = qobject_cast<QLabel*>(child)) words << (l->font().italic() ? "/" : "") + l->text();
  }
  EXPECT_EQ(words, QStringList({"OK", "Cancel", "Speed", "Number of stars", "Colour spread", "Rotation",
                                "Restore Defaults", "Star size", "/majestic", "/wild", "/clockwise",
                                "/counter clockwise", "/crowded", "/sparse", "/blobby", "/points", "/narrow",
                                "/wide", "/none"}));
  const std::tuple<QSlider*, int, int> ranges[] = {{w->Slider1, 2, 1000}, {w->Slider2, 100, 50000},
      {w->Slider3, 50, 255}, {w->Slider4, -2000, 2000}, {w->Slider5, 5, 150}};
  for (auto [s, low, high] : ranges) {
    EXPECT_EQ(std::pair(s->minimum(), s->maximum()), std::pair(low, high));
    EXPECT_TRUE(s->orientation() == Qt::Horizontal && s->singleStep() == 1 && s->pageStep() == 20) << low;
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

TEST(PrefsWindow, EachSliderWritesItsFieldTouchingNoStarAndRestoreDefaultsGivesTheScreens) {
  SCREEN_DEFAULTS(row);
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->StarMax = 28800;
  const std::vector<StarData> stars = d->Star;
  wPrefs* w = wPrefs::Instance();
  w->Slider1->setValue(158);
  EXPECT_EQ(std::pair(Bits(d->Speed), d->Timer2()->Period()), std::pair(0x3C816F00u, int64_t{1}));  // 0.0158; 1.82
  w->Slider1->triggerAction(QAbstractSlider::SliderToMaximum);
  w->Slider2->setValue(21600);
  EXPECT_EQ(std::pair(d->StarMax, d->Timer2()->Period()), std::pair(int64_t{21600}, int64_t{8}));  // 8.64 at 0.1
  w->Slider2->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(d->Timer2()->Period(), 20);
  w->Slider3->triggerAction(QAbstractSlider::SliderPageStepSub);
  w->Slider4->setValue(-2000);
  w->Slider5->setValue(7);
  // Only the speed and count sliders set the period; 0.7 is a single's nearest.
  EXPECT_EQ(std::tuple(d->ColourSpread, d->Rotn, Bits(d->StarSize), d->Timer2()->Period()),
            std::tuple(150, -2000, 0x3F333333u, 20));
  // Fewer stars are only fewer visited; more come back as they were, with no new fill.
  const auto fill = [](const StarData& s) { return std::tuple(s.x, s.y, s.z, s.red, s.green, s.blue, s.brightness); };
  EXPECT_TRUE(std::ranges::equal(d->Star, stars, {}, fill, fill));

  w->PushButton3->click();
  EXPECT_EQ(std::tuple(d->Rotn, Bits(d->Speed), d->ColourSpread, Bits(d->StarSize), d->StarMax, d->Timer2()->Period()),
            std::tuple(35, 0x3B656042u, 170, row->star_size_bits, row->star_max, 0));
  EXPECT_EQ(Sliders(w), (std::array{35, static_cast<int>(row->star_max), 170, 35, row->slider5}));
}

TEST(PrefsWindow, LoadingTheSlidersWritesNoField) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  d->Speed = FromBits(0x3C816F00u);     // SpeedFromSlider(158): comes back as 157
  d->StarSize = FromBits(0x3FB33333u);  // StarSizeFromSlider(14): comes back as 13
  d->Rotn = 3000;                                // beyond the slider
  d->StarMax = 100;
  d->ColourSpread = -7;
  d->Timer2()->SetPeriod(7);
  d->ini_file_changed = false;
  wPrefs* w = ActivePrefs();
  EXPECT_TRUE(d->ini_file_changed);
  EXPECT_EQ(std::tuple(Bits(d->Speed), Bits(d->StarSize), d->Rotn, d->ColourSpread, d->StarMax, d->Timer2()->Period()),
            std::tuple(0x3C816F00u, 0x3FB33333u, 3000, -7, 100, 7));
  EXPECT_EQ(Sliders(w), (std::array{157, 100, 50, 2000, 13}));  // truncated, held to each slider's range

  // Becoming the active window loads what changed meanwhile. A key whose release went to the
  // display while it was in front no longer counts as down here.
  QKeyEvent left(QEvent::KeyPress, Qt::Key_Left, Qt::NoModifier);
  QCoreApplication::sendEvent(w, &left);
  EXPECT_EQ(d->Rotn, 2980);
  d->activateWindow();
  ASSERT_TRUE(RunUntil([&] { return !w->isActiveWindow(); }));
  d->Rotn = -500;
  w->activateWindow();
  ASSERT_TRUE(RunUntil([&] { return w->isActiveWindow(); }));
  EXPECT_EQ(w->Slider4->value(), -500);
  Press(w, Qt::Key_Up);
  EXPECT_EQ(d->Rotn, -500);
}

// Return pressing OK with Restore Defaults in focus is driven end to end (PrefsE2E).
TEST(PrefsWindow, OkAndCancelHideThePointerAndKeepWhatWasMoved) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  Press(d, Qt::Key_Escape);  // closing the settings hides the pointer in a windowed run too
  ASSERT_TRUE(d->escaped);
  for (int button = 0; button < 2; ++button) {
    wPrefs* w = wPrefs::Instance();
    w->show();
    EXPECT_EQ(AppCursor(), Qt::ArrowCursor);
    w->Slider4->setValue(-1234 + button);
    (button ? w->PushButton2 : w->PushButton1)->click();  // the hidden Cancel: nothing to undo
    EXPECT_EQ(AppCursor(), Qt::BlankCursor) << button;
    EXPECT_TRUE(wPrefs::Existing() == nullptr && d->Rotn == -1234 + button) << d->Rotn;
  }
  EXPECT_FALSE(d->isFullScreen());
}

TEST(PrefsWindow, ArrowsSteerWithTheSlidersFollowingAndEscapeOnlyMinimises) {
  SurfaceWindow* d = SurfaceWindow::Instance();
  wPrefs* w = ActivePrefs();
  w->Slider4->setFocus();  // the focused slider doesn't take the arrows for itself
  for (int key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Right}) Press(w, key);
  EXPECT_EQ(std::pair(d->Rotn, w->Slider4->value()), std::pair(int64_t{15}, 15));
  d->Timer2()->SetPeriod(3);
  Press(w, Qt::Key_Down);
  EXPECT_EQ(Bits(d->Speed), 0x3A831270u);  // about 0.001, not the slider's 10 written back
  EXPECT_EQ(std::pair(w->Slider1->value(), d->Timer2()->Period()), std::pair(10, int64_t{0}));

  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    Press(w, Qt::Key_Escape);
    EXPECT_TRUE(w->isMinimized() && w->isVisible() && wPrefs::Existing() == w);
    EXPECT_EQ(w->geometry(), QRect(20, 50, 400, 400));
    RunEventLoop(300);
    EXPECT_TRUE(d->isFullScreen() && !d->escaped);
    Press(d, Qt::Key_S, QStringLiteral("s"));  // the display's `s` brings this same window back
    EXPECT_TRUE(wPrefs::Existing() == w && !w->isMinimized());
    ASSERT_TRUE(RunUntil([&] { return w->isActiveWindow(); }));
  }
}

namespace fs = std::filesystem;

std::string Path() { return PrefsFilePath().toStdString(); }
QByteArray Text(const Settings& s) { return QByteArray::fromStdString(JoinLines(WriteSettings(s))); }

QStringList Names() { return QDir(ApplicationDataFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot); }

// What `run` writes to stderr, held in memory: a file would be held to the size limit too.
std::string StderrOf(const std::function<void()>& run) {
  char* text = nullptr;
  size_t size = 0;
  FILE* const saved = stderr;
  stderr = open_memstream(&text, &size);
  run();
  std::fclose(stderr);
  stderr = saved;
  const std::string told(text, size);
  std::free(text);
  return told;
}

TEST(PrefsStore, WithoutHomeThePasswordDatabaseTellsWhereTheSettingsGo) {
  const std::string xdg = getenv("XDG_DATA_HOME"), home = getenv("HOME") ? getenv("HOME") : "";  // put back at the end
  unsetenv("HOME");
  unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(Path(), std::string(getpwuid(getuid())->pw_dir) + "/.local/share/LumoxPrefs");
  setenv("HOME", "/nowhere/home", 1);
  myLib::AppName = "Lumox";  // the empty data folder stands in the same place
  myLib::MakeBundleID();
  myLib::MakeApplicationFolder();
  EXPECT_EQ(myLib::ApplicationDataFolder, "/nowhere/home/.local/share/net.tallowby.Lumox");
  setenv("XDG_DATA_HOME", xdg.c_str(), 1);
  home.empty() ? unsetenv("HOME") : setenv("HOME", home.c_str(), 1);
}

TEST(PrefsStore, AFirstLineOfMegabytesIsReadThroughInPieces) {
  ASSERT_TRUE(WritePrefs("-35" + QByteArray(2 << 20, ' ') + "\r\n0.05\r\n200\r\n2.5\r\n30000\r\n"));
  Settings read;
  ASSERT_EQ(LoadPrefsFile(read), PrefsFileState::Read);
  EXPECT_EQ(Text(read), "-35\n0.05\n200\n2.5\n30000\n");
}

TEST(PrefsStore, ACutOffSavesFileGoesAtTheNextSaveButThatOfARunningSaveStays) {
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(1000)));
  // A child killed at its first rename: its save is cut off between the write and the rename.
  std::vector<sock_filter> filter = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const unsigned call : {
#ifdef __NR_rename
           unsigned{__NR_rename},
#endif
           unsigned{__NR_renameat}, unsigned{__NR_renameat2}}) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  const pid_t child = fork();
  if (child == 0) {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
      _exit(2);
    SavePrefsFile(DefaultSettings(2000));
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) << status;
  EXPECT_EQ(ReadPrefs(), Text(DefaultSettings(1000)));
  ASSERT_EQ(Names().size(), 2u);  // the old file whole, the new text beside it

  // Another instance halfway through its own save holds its file locked.
  const std::string running = Path() + ".Run123";
  const int fd = open(running.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  ASSERT_TRUE(fd >= 0 && flock(fd, LOCK_EX) == 0);
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(3000)));
  EXPECT_EQ(std::pair(ReadPrefs(), Names()),
            std::pair(Text(DefaultSettings(3000)), QStringList({"LumoxPrefs", "LumoxPrefs.Run123"})));
  close(fd);  // that instance is gone before its rename
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(4000)));
  EXPECT_EQ(Names(), QStringList{"LumoxPrefs"});
}

TEST(PrefsStore, AFailedSaveSaysWhyInOneLineAndKeepsTheOldFileWhole) {
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(1000)));
  // A disk that fills up after four bytes, for root too.
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{4, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  const std::string told = StderrOf([] { EXPECT_FALSE(SavePrefsFile(DefaultSettings(1440))); });
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_EQ(told, "lumox: could not save the settings to " + Path() + ": File too large\n");
  EXPECT_EQ(std::pair(ReadPrefs(), Names()), std::pair(Text(DefaultSettings(1000)), QStringList{"LumoxPrefs"}));

  fs::remove(Path());
  fs::create_directory(Path());  // a folder where the file should be
  EXPECT_EQ(StderrOf([] { EXPECT_FALSE(SavePrefsFile(DefaultSettings(1440))); }),
            "lumox: could not save the settings to " + Path() + ": Is a directory\n");
  EXPECT_TRUE(fs::is_directory(Path()) && fs::is_empty(Path()));
  EXPECT_EQ(Names(), QStringList{"LumoxPrefs"});
}

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

class FreshRun : public ::testing::EmptyTestEventListener {
 public:
  explicit FreshRun(QString data) : data_(std::move(data)) {}

 private:
  void OnTestEnd(const ::testing::TestInfo&) override {
    delete wAbout::Existing();
    delete wStartup::Existing();
    delete SurfaceWindow::Existing();  // the settings window with it
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    while (QGuiApplication::overrideCursor()) QGuiApplication::restoreOverrideCursor();
    QDir(data_).removeRecursively();
    QDir().mkpath(data_);
  }
  QString data_;
};

}  // namespace
}  // namespace lumox

#include "ui_tests.moc"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (::testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();  // listing needs no display
  QTemporaryDir data_home;
  qputenv("XDG_DATA_HOME", data_home.path().toUtf8());
  QApplication app(argc, argv);
  lumox::WireDisplay();
  ::testing::UnitTest::GetInstance()->listeners().Append(new lumox::FreshRun(data_home.path()));
  return RUN_ALL_TESTS();
}
