// The Shell answers Eval and Screenshot calls only from its own programs, or in unsafe mode.
function init() {
  return {
    enable() { global.context.unsafe_mode = true; },
    disable() { global.context.unsafe_mode = false; },
  };
}
