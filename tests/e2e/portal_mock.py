'''The portal's Inhibit: each call makes a request object whose Close logs which request it was.'''

BUS_NAME = 'org.freedesktop.portal.Desktop'
MAIN_OBJ = '/org/freedesktop/portal/desktop'
MAIN_IFACE = 'org.freedesktop.portal.Inhibit'
SYSTEM_BUS = False


def load(mock, parameters):
    mock.AddMethod(MAIN_IFACE, 'Inhibit', 'sua{sv}', 'o', '''
path = "/org/freedesktop/portal/desktop/request/lumox/t%d" % len(self.call_log)
self.AddObject(path, "org.freedesktop.portal.Request", {}, [("Close", "", "", "self.log('closed ' + self.path)")])
ret = dbus.ObjectPath(path)
''')
