#pragma once
#include <QString>

#include "starfield/star_field.h"

namespace lumox {

// The user's application data folder: $XDG_DATA_HOME, else ~/.local/share.
QString ApplicationDataFolder();
// "LumoxPrefs", directly in that folder.
QString PrefsFilePath();

enum class PrefsFileState { Absent, Read, Unreadable };

// Reads the five settings when the file is there and can be opened; otherwise leaves them alone.
PrefsFileState LoadPrefsFile(Settings& settings);

// Replaces the file atomically: written beside it, then renamed over it, so a failed write
// leaves the old file whole. Returns whether the new file is in place.
bool SavePrefsFile(const Settings& settings);

}  // namespace lumox
