#pragma once
// Single settings given on the command line, over those of the file or the defaults.
#include <optional>

#include "starfield/star_field.h"

namespace lumox {

// Each in the settings file's units; empty when not given.
struct SettingOptions {
  std::optional<double> rotation;
  std::optional<double> speed;
  std::optional<double> colour_spread;
  std::optional<double> star_size;
  std::optional<double> stars;
};

// `settings` with each given value put in as the file's reader would take it, then held to the
// range its slider can reach, so no option gives a flight the settings window couldn't.
Settings WithOptions(Settings settings, const SettingOptions& options);

}  // namespace lumox
