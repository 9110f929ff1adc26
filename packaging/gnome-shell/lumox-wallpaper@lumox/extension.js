// Lumox as the desktop's background on GNOME Shell. The Shell starts `lumox --wallpaper
// --gnome-shell` (and the options its settings turn on) as a Wayland client of its own, whose
// windows (one a monitor, titled "Lumox" and the monitor's connector) it keeps under every
// window, out of the window lists and the overview, on every workspace, at their monitor's
// geometry, never focused.
'use strict';

const {Gio, GLib, Meta} = imports.gi;
const ExtensionUtils = imports.misc.extensionUtils;
const Main = imports.ui.main;

// A Lumox that ends on its own is started again, this many times a minute at most.
const kStartsAMinute = 3;
// The extension's settings, each Lumox's option of the same name.
const kOptions = ['span', 'pause-on-battery'];

class LumoxWallpaper {
  constructor(dir) {
    // The Lumox installed with the extension, in <prefix>/share/gnome-shell/extensions/<uuid>.
    const prefix = dir.get_parent().get_parent().get_parent().get_parent();
    const installed = ['bin/lumox', 'games/lumox'].map(path => prefix.resolve_relative_path(path));
    this._program = (installed.find(file => file.query_exists(null)) ?? installed[0]).get_path();
    this._starts = [];
    this._leaving = [];  // Lumoxes that a changed setting replaces, each {client, process}
    // Windows that have shown. Mutter maximizes a window nearly as big as its work area as it first
    // shows, so ours are stretched over their monitor only after.
    this._shown = new WeakSet();
    this._again = new Map();  // window: the timeout that looks again whether it reached its place
  }

  enable() {
    const display = global.display;
    this._settings = ExtensionUtils.getSettings();
    this._starts = [];  // turned off and on, a Lumox given up on gets its chances again
    this._signals = [
      [this._settings, this._settings.connect('changed', () => this._restart())],
      [display, display.connect('window-created', (_, window) => this._adopt(window))],
      [display, display.connect('restacked', () => { this._lower(); this._showUncovered(); })],
      ...['size-changed', 'minimize', 'unminimize', 'switch-workspace'].map(change =>
        [global.window_manager, global.window_manager.connect(change, () => this._showUncovered())]),
      [display, display.connect('notify::focus-window', () => this._giveFocusBack())],
      // A new work area makes mutter hold every window inside it again: ours go back over the whole monitor.
      [display, display.connect('workareas-changed', () => this._windows().forEach(w => this._place(w)))],
      [Main.layoutManager, Main.layoutManager.connect('monitors-changed', () => this._windows().forEach(w => this._place(w)))],
    ];
    this._start();
  }

  disable() {
    this._signals.forEach(([object, id]) => object.disconnect(id));
    const process = this._process;
    this._process = this._client = null;
    process?.send_signal(15);  // SIGTERM: its windows go, and the Shell's background shows again
    this._endLeaving();
    this._again.forEach(id => GLib.source_remove(id));
    this._again.clear();
  }

  _start() {
    const now = GLib.get_monotonic_time() / 1e6;
    this._starts = this._starts.filter(then => now - then < 60);
    if (this._starts.length === kStartsAMinute) {
      log(`Lumox wallpaper: ${this._program} ended ${kStartsAMinute} times within a minute; not started again`);
      Main.notify('The Lumox wallpaper stopped', `Lumox ended ${kStartsAMinute} times within a minute. ` +
        'Turn the extension off and on again to try once more.');
      return;
    }
    this._starts.push(now);
    const launcher = new Gio.SubprocessLauncher({flags: Gio.SubprocessFlags.NONE});
    this._client = Meta.WaylandClient.new(launcher);
    const options = this._options();
    this._running = options.join(' ');
    const process = this._client.spawnv(global.display, [this._program, '--wallpaper', '--gnome-shell', ...options]);
    // The launcher holds the client's end of the Wayland socket until it is collected: closed now,
    // the connection ends with the process, and so do its windows.
    launcher.close();
    this._process = process;
    process.wait_async(null, () => {
      this._leaving = this._leaving.filter(leaving => leaving.process !== process);
      if (this._process === process) this._start();  // it ended on its own
    });
  }

  // A changed setting starts the next Lumox beside the running one, which ends once the new one's
  // windows cover every monitor (or after a few seconds): no moment of the Shell's own background.
  // One given up on starts again; the user's change is no crash.
  _restart() {
    // The Shell's settings may say a key changed when no value did: the running Lumox goes on.
    const running = this._process?.get_identifier();
    if (running && this._options().join(' ') === this._running) return;
    this._starts = [];
    if (running) this._leaving.push({client: this._client, process: this._process});
    this._start();
    if (!this._handOverLimit)
      this._handOverLimit = GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, 3, () => this._endLeaving());
  }

  _options() {
    return kOptions.filter(name => this._settings.get_boolean(name)).map(name => `--${name}`);
  }

  _handOver() {
    const placed = this._windows().filter(w => this._client?.owns_window(w) && this._place(w));
    if (placed.length === global.display.get_n_monitors()) this._endLeaving();
  }

  _endLeaving() {
    this._leaving.forEach(({process}) => process.send_signal(15));
    this._leaving = [];
    if (this._handOverLimit) GLib.source_remove(this._handOverLimit);
    this._handOverLimit = null;
    return GLib.SOURCE_REMOVE;
  }

  _windows() {
    return global.get_window_actors().map(actor => actor.meta_window).filter(window => this._ours(window));
  }

  _clientOf(window) {
    return [this._client, ...this._leaving.map(leaving => leaving.client)].find(client => client?.owns_window(window));
  }

  _ours(window) {
    return this._clientOf(window) !== undefined;
  }

  _adopt(window) {
    const client = this._clientOf(window);
    if (!client) return;
    client.hide_from_window_list(window);
    window.stick();
    // The window has no actor yet, and may have no title: both come by the time it shows. Mutter
    // places a new window where it likes, and may move it again: it goes back to its monitor.
    window.connect('shown', () => {
      window.get_compositor_private().reactive = false;
      this._shown.add(window);
      this._place(window);
      this._lower();
      this._handOver();
    });
    for (const change of ['notify::title', 'position-changed', 'size-changed'])
      window.connect(change, () => this._place(window) && this._handOver());
  }

  // Over the whole of the monitor its title names, the top bar's strip too, as the Shell's own
  // background is: a see-through bar shows the stars, and one picture across monitors lines up.
  // Whether it is there already.
  _place(window) {
    const [, connector] = /^Lumox (.+)$/.exec(window.get_title() ?? '') ?? [];
    const monitor = connector ? Meta.MonitorManager.get().get_monitor_for_connector(connector) : -1;
    if (monitor < 0 || !this._shown.has(window)) return false;
    const area = global.display.get_monitor_geometry(monitor);
    const now = window.get_frame_rect();
    if (now.x === area.x && now.y === area.y && now.width === area.width && now.height === area.height) return true;
    if (window.get_monitor() !== monitor) window.move_to_monitor(monitor);
    // As the user's move: mutter keeps its own moves of a window inside the work area.
    window.move_resize_frame(true, area.x, area.y, area.width, area.height);
    // A busy client may still draw at its old size after the move: asked again until it is there.
    if (!this._again.has(window)) {
      this._again.set(window, GLib.timeout_add(GLib.PRIORITY_DEFAULT, 250, () => {
        this._again.delete(window);
        if (window.get_compositor_private() && this._ours(window) && this._place(window)) this._handOver();
        return GLib.SOURCE_REMOVE;
      }));
    }
    return false;
  }

  // Below every other window; a window lowered already is left, so lowering ends.
  _lower() {
    const windows = global.display.sort_windows_by_stacking(global.get_window_actors().map(a => a.meta_window));
    const lowest = windows.findIndex(window => !this._ours(window));
    windows.forEach((window, at) => {
      if (this._ours(window) && lowest >= 0 && at > lowest) window.lower();
    });
  }

  // Ours is hidden on a monitor under a maximised or full-screen window (taken for opaque): the Shell
  // then sends it no frame callbacks, and Lumox draws nothing there until it shows again.
  _showUncovered() {
    const workspace = global.workspace_manager.get_active_workspace();
    const covering = global.display.list_all_windows().filter(window => !this._ours(window) &&
      window.showing_on_its_workspace() && window.located_on_workspace(workspace) &&
      (window.is_fullscreen() || window.get_maximized() === Meta.MaximizeFlags.BOTH));
    for (const window of this._windows())
      window.get_compositor_private().visible = !covering.some(other => other.get_monitor() === window.get_monitor());
  }

  // Mutter focuses a window as it maps; ours hands the focus back to the window before it.
  _giveFocusBack() {
    const focused = global.display.focus_window;
    if (!focused || !this._ours(focused)) return;
    const [other] = global.display.get_tab_list(Meta.TabList.NORMAL, null);
    if (other)
      other.focus(global.get_current_time());
    else
      global.display.unset_input_focus(global.get_current_time());
  }
}

function init(meta) {
  return new LumoxWallpaper(meta.dir);
}
