#include "settings/data_folder.h"

#include <string_view>

namespace lumox {

namespace {

// A relative path would follow the working folder, so it is no answer.
bool Absolute(const char* path) { return path != nullptr && path[0] == '/'; }

// Without trailing slashes, so names can be joined with one; "/" stays "/".
std::string Trimmed(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return std::string(path);
}

}  // namespace

std::string DataFolder(const char* xdg_data_home, const char* home, const char* passwd_home) {
  if (Absolute(xdg_data_home)) return Trimmed(xdg_data_home);
  const char* base = Absolute(home) ? home : Absolute(passwd_home) ? passwd_home : nullptr;
  if (base == nullptr) return "";
  const std::string trimmed = Trimmed(base);
  return (trimmed == "/" ? "" : trimmed) + "/.local/share";
}

}  // namespace lumox
