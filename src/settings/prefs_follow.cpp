#include "settings/prefs_follow.h"

namespace lumox {

FollowStep FollowPrefs(const Settings& running, const std::optional<Settings>& read, const SettingOptions& options) {
  if (!read) return {};
  Settings wanted = WithOptions(*read, options);
  wanted.StarMax = HoldStarMax(wanted.StarMax);  // as at take-off
  if (wanted == running) return {};
  return {FollowStep::kChange, wanted, wanted.StarMax != running.StarMax || wanted.Speed != running.Speed};
}

std::string UnreadablePrefsLine(const std::string& path) {
  return "Can't read the settings file " + path + "; the flight keeps its settings.";
}

}  // namespace lumox
