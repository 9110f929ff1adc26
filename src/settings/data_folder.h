#pragma once
// Which folder holds the user's application data: the settings file and the data folder.
#include <string>

namespace lumox {

// $XDG_DATA_HOME when it is an absolute path, else <home>/.local/share, with <home> from $HOME
// or, when that is unset, empty or relative, from the password database. "" when there is none.
// Null stands for unset.
std::string DataFolder(const char* xdg_data_home, const char* home, const char* passwd_home);

}  // namespace lumox
