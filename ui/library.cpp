// libtavikpkiui.so is the static UI and model libraries linked whole; the
// version script next to this file decides what it exports.
