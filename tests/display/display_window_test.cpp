// The display window's opening, keys and closing against an empty settings folder.
#include <gtest/gtest.h>

#include <QMenuBar>

#include "display/surface_window.h"
#include "support/scripted_numbers.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

using testing::Bits;

TEST(DisplayWindow, FirstOpeningTakesTheScreenWithItsDefaults) {
  const testing::ScreenDefaults* row = testing::DefaultsForThisScreen();
  SKIP_UNLESS_SCREEN_IN_TABLE(row);
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_TRUE(w->isFullScreen() && !w->menuBar()->isVisible());
  EXPECT_EQ(testing::AppCursor(), Qt::BlankCursor);
  ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_TRUE(w->ini_file_changed && !w->escaped);
  EXPECT_EQ(std::tuple(w->Rotn, Bits(w->Speed), w->ColourSpread, Bits(w->StarSize), w->StarMax),
            std::tuple(35, 0x3B656042u, 170, row->star_size_bits, row->star_max));
  EXPECT_EQ(w->Timer2()->Period(), 0);
  EXPECT_EQ(w->Timer1()->interval(), 30);
  EXPECT_EQ(w->CameraZ, -kDefaultSpeed);  // the opening's own refresh drew one frame from 0
  EXPECT_GT(w->Star[row->star_max].brightness, 0.0f);
  if (row->star_max < kStarUpperBound) {
    EXPECT_EQ(w->Star[row->star_max + 1].brightness, 0.0f);
  }

  w->Event_Close();
  EXPECT_EQ(testing::ReadPrefs(), row->file);
  QFile::remove(testing::PrefsPath());
  w->Event_Close();  // the closing step runs once
  EXPECT_FALSE(QFile::exists(testing::PrefsPath()));
}

TEST(DisplayWindow, AFilesValuesAreTakenAsTheyStandButTheStarCountIsHeld) {
  ASSERT_TRUE(testing::WritePrefs("3000\n0.1\n-7\n15\n90000\n"));
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_FALSE(w->ini_file_changed);
  EXPECT_TRUE(w->Rotn == 3000 && w->Speed == 0.1f && w->ColourSpread == -7 && w->StarSize == 15.0f);
  EXPECT_EQ(w->StarMax, 50000);
  EXPECT_EQ(w->Timer2()->Period(), 20);
  testing::Press(w, Qt::Key_Up);
  testing::Press(w, Qt::Key_Left);
  w->Event_Close();  // the file was present and the settings window never opened
  EXPECT_EQ(testing::ReadPrefs(), "3000\n0.1\n-7\n15\n90000\n");
}

TEST(DisplayWindow, KeysSteerTheFlightAndEscapeLeavesFullScreenOnce) {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->StarMax = 50000;
  w->Speed = 0.1f;
  w->Timer2()->SetPeriod(7);
  testing::Press(w, Qt::Key_Down);  // ~0.0975: 19.5 before truncation
  EXPECT_EQ(w->Timer2()->Period(), 19);
  testing::Press(w, Qt::Key_Up);
  EXPECT_EQ(std::pair(Bits(w->Speed), w->Timer2()->Period()), std::pair(0x3DCCCCCDu, int64_t{20}));
  testing::Press(w, Qt::Key_Left);
  testing::Press(w, Qt::Key_Left);
  testing::Press(w, Qt::Key_Right);
  EXPECT_EQ(w->Rotn, 15);

  // Geometry is read straight after each key, before the window manager has a say.
  testing::Press(w, Qt::Key_Escape);
  EXPECT_TRUE(w->escaped && w->menuBar()->isVisible() && !w->isFullScreen());
  EXPECT_EQ(w->geometry(), QRect(20, 50, 600, 400));
  w->setGeometry(120, 140, 500, 300);  // where the user puts it, a second escape leaves it
  testing::Press(w, Qt::Key_Escape);
  EXPECT_EQ(w->geometry(), QRect(120, 140, 500, 300));
  EXPECT_TRUE(w->escaped && !w->isFullScreen());
}

}  // namespace
}  // namespace lumox
