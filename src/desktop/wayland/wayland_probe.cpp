#include "desktop/wayland/wayland_probe.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace lumox {

bool WaylandAnswers(const std::string& name) {
  const char* runtime = getenv("XDG_RUNTIME_DIR");
  if (!name.starts_with('/') && (!runtime || !*runtime)) return false;
  const std::string path = name.starts_with('/') ? name : std::string(runtime) + "/" + name;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool answers = fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  if (fd >= 0) close(fd);
  return answers;
}

}  // namespace lumox
