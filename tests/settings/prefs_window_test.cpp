// The settings window: layout, sliders, buttons, keys; the file's store: where, a long line, failed saves.
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <QDir>
#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "display/surface_window.h"
#include "settings/prefs_format.h"
#include "settings/prefs_store.h"
#include "settings/prefs_window.h"
#include "shell/my_lib.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

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

  // Becoming active loads what changed meanwhile; a key released while the display was in front is up.
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
    RunUntil([] { return false; }, 300);
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

}  // namespace
}  // namespace lumox
