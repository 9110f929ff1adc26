#include "settings/prefs_window.h"

namespace lumox {
namespace {
wPrefs* g_prefs = nullptr;
}
wPrefs* wPrefs::Instance() {
  if (!g_prefs) g_prefs = new wPrefs();
  return g_prefs;
}
wPrefs* wPrefs::Existing() { return g_prefs; }
wPrefs::wPrefs() { setAttribute(Qt::WA_DeleteOnClose); }
wPrefs::~wPrefs() { g_prefs = nullptr; }
}  // namespace lumox
