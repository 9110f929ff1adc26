// Writes the XScreenSaver settings dialog from its template: each slider's ends and default are
// the settings window's, so the dialog offers what the program takes.
//   saver_settings TEMPLATE OUTPUT
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

#include "settings/slider_scales.h"
#include "starfield/star_field.h"

namespace {
// As a person writes the number: 0.0002, 15, 1.92 (six digits are plenty for every value here).
std::string Str(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}
}  // namespace

int main(int argc, char** argv) {
  using namespace lumox;
  if (argc != 3) return 2;
  constexpr int64_t kWidth = 1920;  // the dialog's defaults are a 1920 wide screen's
  const std::map<std::string, std::string> values = {
      {"SPEED_LOW", Str(SpeedFromSlider(kSpeedSlider.low))},
      {"SPEED_HIGH", Str(SpeedFromSlider(kSpeedSlider.high))},
      {"SPEED_DEFAULT", Str(kDefaultSpeed)},
      {"ROTATION_LOW", Str(double{kRotationSlider.low})},
      {"ROTATION_HIGH", Str(double{kRotationSlider.high})},
      {"ROTATION_DEFAULT", Str(double{kDefaultRotn})},
      {"STARS_LOW", Str(double{kStarsSlider.low})},
      {"STARS_HIGH", Str(double{kStarsSlider.high})},
      {"STARS_DEFAULT", Str(double(DefaultStarMax(kWidth)))},
      {"STAR_SIZE_LOW", Str(StarSizeFromSlider(kStarSizeSlider.low))},
      {"STAR_SIZE_HIGH", Str(StarSizeFromSlider(kStarSizeSlider.high))},
      {"STAR_SIZE_DEFAULT", Str(DefaultStarSize(kWidth))},
      {"COLOUR_SPREAD_LOW", Str(double{kColourSpreadSlider.low})},
      {"COLOUR_SPREAD_HIGH", Str(double{kColourSpreadSlider.high})},
      {"COLOUR_SPREAD_DEFAULT", Str(double{kDefaultColourSpread})},
  };
  std::ifstream in(argv[1]);
  std::stringstream text;
  text << in.rdbuf();
  std::string xml = text.str();
  for (const auto& [name, value] : values)
    for (size_t at; (at = xml.find('@' + name + '@')) != std::string::npos;) xml.replace(at, name.size() + 2, value);
  if (!in || xml.find('@') != std::string::npos) {
    std::cerr << "saver_settings: " << argv[1] << " has a value this program does not fill in\n";
    return 1;
  }
  std::ofstream(argv[2]) << xml;
  return 0;
}
