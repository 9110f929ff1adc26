// The seats: the saver listens to every keyboard, pointer and touch screen, including those that
// go and come back (a KVM switch, a hub that sleeps with the monitor).
#include <unistd.h>

#include "desktop/wayland/wayland_state.h"

namespace lumox {

namespace {

void Tell(SeatEntry* seat, InputKind kind) { seat->state->sink.UserInput({kind}); }

const wl_keyboard_listener kKeyboardListener = {
    [](void*, wl_keyboard*, uint32_t, int32_t fd, uint32_t) { close(fd); },  // no keymap needed
    [](void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {},  // keys already down don't count
    [](void*, wl_keyboard*, uint32_t, wl_surface*) {},
    [](void* data, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t state) {
      if (state == WL_KEYBOARD_KEY_STATE_PRESSED) Tell(static_cast<SeatEntry*>(data), InputKind::kKey);
    },
    [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
    [](void*, wl_keyboard*, int32_t, int32_t) {},
};

void PointerAt(SeatEntry* seat, wl_fixed_t x, wl_fixed_t y) {
  seat->state->sink.UserInput({InputKind::kMotion, OutputOfSurface(*seat->state, seat->pointer_surface),
                               wl_fixed_to_double(x), wl_fixed_to_double(y)});
}

const wl_pointer_listener kPointerListener = {
    [](void* data, wl_pointer* pointer, uint32_t serial, wl_surface* surface, wl_fixed_t x, wl_fixed_t y) {
      auto* seat = static_cast<SeatEntry*>(data);
      wl_pointer_set_cursor(pointer, serial, nullptr, 0, 0);  // no pointer over the saver
      seat->pointer_surface = surface;
      PointerAt(seat, x, y);
    },
    [](void* data, wl_pointer*, uint32_t, wl_surface*) { static_cast<SeatEntry*>(data)->pointer_surface = nullptr; },
    [](void* data, wl_pointer*, uint32_t, wl_fixed_t x, wl_fixed_t y) {
      auto* seat = static_cast<SeatEntry*>(data);
      if (seat->pointer_surface) PointerAt(seat, x, y);
    },
    [](void* data, wl_pointer*, uint32_t, uint32_t, uint32_t, uint32_t state) {
      if (state == WL_POINTER_BUTTON_STATE_PRESSED) Tell(static_cast<SeatEntry*>(data), InputKind::kButton);
    },
    [](void* data, wl_pointer*, uint32_t, uint32_t, wl_fixed_t) { Tell(static_cast<SeatEntry*>(data), InputKind::kWheel); },
    [](void*, wl_pointer*) {},
    [](void*, wl_pointer*, uint32_t) {},
    [](void*, wl_pointer*, uint32_t, uint32_t) {},
    [](void*, wl_pointer*, uint32_t, int32_t) {},
};

const wl_touch_listener kTouchListener = {
    [](void* data, wl_touch*, uint32_t, uint32_t, wl_surface*, int32_t, wl_fixed_t, wl_fixed_t) {
      Tell(static_cast<SeatEntry*>(data), InputKind::kTouch);
    },
    [](void*, wl_touch*, uint32_t, uint32_t, int32_t) {},
    [](void*, wl_touch*, uint32_t, int32_t, wl_fixed_t, wl_fixed_t) {},
    [](void*, wl_touch*) {},
    [](void*, wl_touch*) {},
};

// A device's object is released where the version has the request, else destroyed.
template <class Device>
void Drop(Device*& device, uint32_t release_since, void (*release)(Device*), void (*destroy)(Device*)) {
  if (!device) return;
  if (wl_proxy_get_version(reinterpret_cast<wl_proxy*>(device)) >= release_since)
    release(device);
  else
    destroy(device);
  device = nullptr;
}

void DropKeyboard(SeatEntry& s) {
  Drop(s.keyboard, WL_KEYBOARD_RELEASE_SINCE_VERSION, &wl_keyboard_release, &wl_keyboard_destroy);
}
void DropPointer(SeatEntry& s) {
  Drop(s.pointer, WL_POINTER_RELEASE_SINCE_VERSION, &wl_pointer_release, &wl_pointer_destroy);
  s.pointer_surface = nullptr;
}
void DropTouch(SeatEntry& s) { Drop(s.touch, WL_TOUCH_RELEASE_SINCE_VERSION, &wl_touch_release, &wl_touch_destroy); }

// The devices follow the capabilities: one that goes is let go, so one that comes back is taken anew.
const wl_seat_listener kSeatListener = {
    [](void* data, wl_seat* seat, uint32_t caps) {
      auto* s = static_cast<SeatEntry*>(data);
      if (!(caps & WL_SEAT_CAPABILITY_KEYBOARD)) {
        DropKeyboard(*s);
      } else if (!s->keyboard) {
        s->keyboard = wl_seat_get_keyboard(seat);
        wl_keyboard_add_listener(s->keyboard, &kKeyboardListener, s);
      }
      if (!(caps & WL_SEAT_CAPABILITY_POINTER)) {
        DropPointer(*s);
      } else if (!s->pointer) {
        s->pointer = wl_seat_get_pointer(seat);
        wl_pointer_add_listener(s->pointer, &kPointerListener, s);
      }
      if (!(caps & WL_SEAT_CAPABILITY_TOUCH)) {
        DropTouch(*s);
      } else if (!s->touch) {
        s->touch = wl_seat_get_touch(seat);
        wl_touch_add_listener(s->touch, &kTouchListener, s);
      }
    },
    [](void*, wl_seat*, const char*) {},
};

}  // namespace

void AddSeat(WaylandState& state, uint32_t name, wl_seat* seat) {
  auto s = std::make_unique<SeatEntry>();
  s->state = &state;
  s->name = name;
  s->seat = seat;
  wl_seat_add_listener(seat, &kSeatListener, s.get());
  state.seats[name] = std::move(s);
}

void DropSeat(SeatEntry& s) {
  DropKeyboard(s);
  DropPointer(s);
  DropTouch(s);
  if (wl_seat_get_version(s.seat) >= WL_SEAT_RELEASE_SINCE_VERSION)
    wl_seat_release(s.seat);
  else
    wl_seat_destroy(s.seat);
}

}  // namespace lumox
