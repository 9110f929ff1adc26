#pragma once
// How a running flight of the wallpaper, the saver or the display mode follows the settings file
// as it changes: what it takes from the file read anew, and what it keeps.
#include <optional>
#include <string>

#include "settings/setting_options.h"
#include "starfield/star_field.h"

namespace lumox {

struct FollowStep {
  enum Kind { kKeep, kChange } kind = kKeep;
  Settings settings;        // kChange: the flight's settings from now on
  bool new_period = false;  // StarMax or Speed changed: Timer2's period anew, as the sliders set it
  bool operator==(const FollowStep&) const = default;
};

// `running`: the flight's settings now. `read`: the file's over the output's defaults, or none
// when the file could not be read, which keeps the running ones. The command line's options
// still win over the file.
FollowStep FollowPrefs(const Settings& running, const std::optional<Settings>& read, const SettingOptions& options);

// The line (after "lumox: ") for a file that could not be read anew.
std::string UnreadablePrefsLine(const std::string& path);

}  // namespace lumox
