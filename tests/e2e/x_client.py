#!/usr/bin/python3
"""Another program on the X display for the end-to-end tests, each holding on until killed:
  probe                 a window, once the window manager lists it as managed (exit 1 if never)
  grab                  the keyboard and the pointer, as a locker or a menu; says "grabbed"
  cover X Y W H RRGGBB [child]
                        an override-redirect window there, as a notification's, with a white
                        child if asked; says its id once mapped, ends when it is destroyed
  press KEYSYM          the key down with the repeat off (xdotool lets its keys go); says "down"
"""
import sys
import time

from Xlib import X, XK, display
from Xlib.ext import xtest

d = display.Display()
screen = d.screen()
root = screen.root


def say(text):
    print(text, flush=True)


def listed(window):
    clients = root.get_full_property(d.intern_atom("_NET_CLIENT_LIST"), X.AnyPropertyType)
    return clients is not None and window.id in clients.value


if sys.argv[1] == "probe":
    window = root.create_window(0, 0, 10, 10, 0, screen.root_depth)
    deadline, remap = time.monotonic() + 20, 0
    # A window mapped as the manager starts may never be taken: it is mapped again each second.
    while time.monotonic() < deadline and not listed(window):
        if time.monotonic() > remap:
            window.unmap()
            window.map()
            remap = time.monotonic() + 1
        time.sleep(0.02)
    # Gone from the manager's list before this ends: the next client reuses these ids, and a manager
    # still holding this window would move that client's window to its place.
    window.destroy()
    d.sync()
    while time.monotonic() < deadline and listed(window):
        time.sleep(0.02)
    sys.exit(0 if time.monotonic() < deadline else 1)
elif sys.argv[1] == "grab":
    # Another client may hold them for a moment (a window manager's own grab): ask again.
    while root.grab_keyboard(False, X.GrabModeAsync, X.GrabModeAsync, X.CurrentTime) != X.GrabSuccess:
        time.sleep(0.05)
    while root.grab_pointer(False, X.ButtonPressMask | X.PointerMotionMask, X.GrabModeAsync, X.GrabModeAsync,
                            X.NONE, X.NONE, X.CurrentTime) != X.GrabSuccess:
        time.sleep(0.05)
    say("grabbed")
elif sys.argv[1] == "cover":
    x, y, w, h = (int(v) for v in sys.argv[2:6])
    rgb = int(sys.argv[6], 16)
    colour = screen.default_colormap.alloc_color((rgb >> 16) * 257, (rgb >> 8 & 0xFF) * 257, (rgb & 0xFF) * 257)
    window = root.create_window(x, y, w, h, 0, screen.root_depth, background_pixel=colour.pixel,
                                override_redirect=True, event_mask=X.StructureNotifyMask)
    window.set_wm_name("x_client")
    if sys.argv[7:] == ["child"]:
        window.create_window(0, 0, w, h, 0, screen.root_depth, background_pixel=screen.white_pixel).map()
    window.map()
    while d.next_event().type != X.MapNotify:
        pass
    say(window.id)
    while d.next_event().type != X.DestroyNotify:
        pass
    sys.exit(0)
elif sys.argv[1] == "press":
    # Repeats of a held key are presses; a finger resting on it sends none.
    d.change_keyboard_control(auto_repeat_mode=X.AutoRepeatModeOff)
    xtest.fake_input(d, X.KeyPress, d.keysym_to_keycode(XK.string_to_keysym(sys.argv[2])))
    d.sync()
    say("down")

while True:
    d.next_event()
