// The extension's page in the Extensions app: a switch for each of its settings, Alt and the
// underlined letter turning it over. The flight itself is tuned in Lumox's own settings window.
'use strict';

const {Adw, Gio, Gtk} = imports.gi;
const ExtensionUtils = imports.misc.extensionUtils;

const kSwitches = [['span', 'One _flight across all monitors'], ['pause-on-battery', '_Pause on battery']];

function init() {}

function fillPreferencesWindow(window) {
  const settings = ExtensionUtils.getSettings();
  const group = new Adw.PreferencesGroup({description: "Speed, stars, colours, rotation and size are Lumox's own settings."});
  for (const [name, title] of kSwitches) {
    const subtitle = settings.settings_schema.get_key(name).get_description();
    const row = new Adw.ActionRow({title, subtitle, use_underline: true});
    const toggle = new Gtk.Switch({valign: Gtk.Align.CENTER});
    settings.bind(name, toggle, 'active', Gio.SettingsBindFlags.DEFAULT);
    row.add_suffix(toggle);
    row.activatable_widget = toggle;
    group.add(row);
  }
  const page = new Adw.PreferencesPage();
  page.add(group);
  window.add(page);
}
