#!/usr/bin/env python3
"""kwin_shot.py OUTPUT FILE: the output in its own pixels from KWin's screenshot service, raw in
FILE; says its width, height, stride and QImage format."""
import os
import sys

import dbus

read, write = os.pipe()
kwin = dbus.SessionBus().get_object("org.kde.KWin", "/org/kde/KWin/ScreenShot2")
meta = kwin.CaptureScreen(sys.argv[1], {"native-resolution": True}, dbus.types.UnixFd(write),
                          dbus_interface="org.kde.KWin.ScreenShot2")
os.close(write)  # KWin writes once it has answered; the pipe ends when it has written all
open(sys.argv[2], "wb").write(b"".join(iter(lambda: os.read(read, 1 << 20), b"")))
print(meta["width"], meta["height"], meta["stride"], meta["format"])
