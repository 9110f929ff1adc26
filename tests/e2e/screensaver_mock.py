'''org.freedesktop.ScreenSaver: Inhibit hands out a new cookie each time, UnInhibit takes one back.'''

BUS_NAME = MAIN_IFACE = 'org.freedesktop.ScreenSaver'
MAIN_OBJ = '/org/freedesktop/ScreenSaver'
SYSTEM_BUS = False


def load(mock, parameters):
    mock.AddMethods(MAIN_IFACE, [
        ('Inhibit', 'ss', 'u', 'ret = 1000 + len(self.call_log)'),
        ('UnInhibit', 'u', '', ''),
    ])
