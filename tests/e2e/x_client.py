#!/usr/bin/python3
"""Another program on the X display, for the end-to-end tests; each holds on until it is killed.

  x_client.py grab                 takes the keyboard and the pointer, as a locker or a menu does,
                                   and prints "grabbed" once it holds both.
  x_client.py cover X Y W H RRGGBB maps an override-redirect window there in that colour, as a
                                   notification does, and prints its id once it is mapped.
  x_client.py press KEYSYM         puts the key down and leaves it there (xdotool lets its keys go
                                   when it ends), with the repeat off; prints "down".
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


if sys.argv[1] == "grab":
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
    window.map()
    while d.next_event().type != X.MapNotify:
        pass
    say(hex(window.id))
elif sys.argv[1] == "press":
    # Repeats of a held key are presses; a finger resting on it sends none.
    d.change_keyboard_control(auto_repeat_mode=X.AutoRepeatModeOff)
    xtest.fake_input(d, X.KeyPress, d.keysym_to_keycode(XK.string_to_keysym(sys.argv[2])))
    d.sync()
    say("down")

while True:
    d.next_event()
