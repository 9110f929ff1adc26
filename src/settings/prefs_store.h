#pragma once
#include <QString>

#include "starfield/star_field.h"

namespace lumox {

// The user's application data folder: $XDG_DATA_HOME, else ~/.local/share (see DataFolder).
// Empty when there is no home folder to be found.
QString ApplicationDataFolder();
// "LumoxPrefs", directly in that folder.
QString PrefsFilePath();

enum class PrefsFileState { Absent, Read, Unreadable };

// Reads the five settings when a regular file is there and can be read; otherwise leaves them
// alone. Anything else at that name (a FIFO, a device, a folder) counts as unreadable, without
// being opened for long enough to block. A link is followed.
PrefsFileState LoadPrefsFile(Settings& settings);

// Replaces the file atomically: written beside it, then renamed over it, so a failed or cut-off
// write leaves the old file whole. A link stays a link and its target is replaced; the file keeps
// its mode. A failure is told in one line on stderr. Returns whether the new file is in place.
bool SavePrefsFile(const Settings& settings);

}  // namespace lumox
