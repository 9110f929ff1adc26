// Qt's screens as the desktop modes' outputs.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>
#include <string>
#include <vector>

#include "desktop/qt_screens.h"

namespace lumox {
namespace {

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

}  // namespace
}  // namespace lumox
