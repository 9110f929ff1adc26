#pragma once
#include <string>

namespace lumox {

// Whether a Wayland compositor listens at this display name (a socket path, or a name in
// XDG_RUNTIME_DIR), as libwayland finds it. Nothing is said to it.
bool WaylandAnswers(const std::string& name);

}  // namespace lumox
