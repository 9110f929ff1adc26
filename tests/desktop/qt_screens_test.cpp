// Qt's screens as the desktop core's outputs, on the test display's screens.
#include "desktop/qt_screens.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <string>
#include <vector>

namespace lumox {
namespace {

// What the outputs' side of a sink hears, one line an event.
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

// A monitor given a new mode keeps its QScreen, whose geometry changes: its output is reshaped,
// so its surface is made anew at the new size.
TEST(QtScreens, EachScreenIsAnOutputByItsNameAndOneWithANewGeometryIsReshaped) {
  Heard heard;
  QtScreens screens(heard);
  screens.Watch();
  QScreen* first = QGuiApplication::screens().value(0);
  ASSERT_NE(first, nullptr);
  ASSERT_GE(heard.lines.size(), 2u);
  EXPECT_EQ(heard.lines[0], "added 1");
  EXPECT_EQ(heard.lines[1], "described 1 " + first->name().toStdString());
  EXPECT_EQ(screens.Screen(1), first);
  heard.lines.clear();
  emit first->geometryChanged(QRect(0, 0, 800, 600));
  EXPECT_EQ(heard.lines, std::vector<std::string>{"reshaped 1"});
}

}  // namespace
}  // namespace lumox
