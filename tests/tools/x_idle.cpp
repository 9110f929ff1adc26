// Prints how long the X server named by DISPLAY has counted the user idle, in milliseconds: the
// clock its own screen saver runs on (MIT-SCREEN-SAVER QueryInfo, sent by hand since no xcb
// binding for that extension is installed).
#include <sys/uio.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int main() {
  xcb_connection_t* c = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(c)) return 1;
  const char name[] = "MIT-SCREEN-SAVER";
  xcb_query_extension_reply_t* saver =
      xcb_query_extension_reply(c, xcb_query_extension(c, std::strlen(name), name), nullptr);
  if (!saver || !saver->present) return 1;
  struct {
    uint8_t major, minor;  // minor 1: QueryInfo
    uint16_t length;       // filled in by xcb
    uint32_t drawable;
  } request{saver->major_opcode, 1, 0, xcb_setup_roots_iterator(xcb_get_setup(c)).data->root};
  iovec parts[3] = {{}, {}, {&request, sizeof request}};  // xcb writes its own parts before ours
  const xcb_protocol_request_t protocol{1, nullptr, saver->major_opcode, 0};
  const unsigned sequence = xcb_send_request(c, 0, parts + 2, &protocol);
  auto* reply = static_cast<const uint8_t*>(xcb_wait_for_reply(c, sequence, nullptr));
  if (!reply) return 1;
  uint32_t idle;  // after type, state, sequence, length, saver window and til-or-since
  std::memcpy(&idle, reply + 16, sizeof idle);
  std::printf("%u\n", idle);
  return 0;
}
