#include "desktop/x11/x11_windows.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace lumox {

namespace {

xcb_connection_t* Connection() {
  auto* x11 = qApp ? qApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
  return x11 ? x11->connection() : nullptr;
}

// xcb replies are malloc'ed and freed with free().
template <class Reply>
using Owned = std::unique_ptr<Reply, decltype(&free)>;
template <class Reply>
Owned<Reply> Own(Reply* reply) {
  return Owned<Reply>(reply, &free);
}

}  // namespace

uint32_t X11VirtualRoot() {
  xcb_connection_t* c = Connection();
  if (!c) return 0;
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
  const char name[] = "__SWM_VROOT";
  const auto atom = Own(xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, sizeof name - 1, name), nullptr));
  const auto tree = Own(xcb_query_tree_reply(c, xcb_query_tree(c, root), nullptr));
  if (!atom || atom->atom == XCB_ATOM_NONE || !tree) return root;
  const xcb_window_t* children = xcb_query_tree_children(tree.get());
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    const auto value = Own(xcb_get_property_reply(
        c, xcb_get_property(c, 0, children[i], atom->atom, XCB_GET_PROPERTY_TYPE_ANY, 0, 1), nullptr));
    if (value && xcb_get_property_value_length(value.get()) == 4) {
      xcb_window_t vroot;
      memcpy(&vroot, xcb_get_property_value(value.get()), 4);
      return vroot;
    }
  }
  return root;
}

std::optional<QSize> X11WindowSize(uint32_t window) {
  xcb_connection_t* c = Connection();
  if (!c) return std::nullopt;
  const auto geometry = Own(xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
  if (!geometry) return std::nullopt;
  return QSize(geometry->width, geometry->height);
}

namespace {
// An event mask is per client and per window, and this program may have one on the window already.
void AddEvents(uint32_t window, uint32_t events) {
  xcb_connection_t* c = Connection();
  if (!c) return;
  const auto attributes = Own(xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
  const uint32_t mask = (attributes ? attributes->your_event_mask : 0) | events;
  xcb_change_window_attributes(c, window, XCB_CW_EVENT_MASK, &mask);
  xcb_flush(c);
}
}  // namespace

void WatchChildren(uint32_t parent) { AddEvents(parent, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY); }

std::vector<StackedWindow> X11ViewableChildren(uint32_t parent) {
  std::vector<StackedWindow> viewable;
  xcb_connection_t* c = Connection();
  const auto tree = Own(c ? xcb_query_tree_reply(c, xcb_query_tree(c, parent), nullptr) : nullptr);
  if (!tree) return viewable;
  const xcb_window_t* children = xcb_query_tree_children(tree.get());
  const int count = xcb_query_tree_children_length(tree.get());
  // Every question goes out before the first answer is read: one round trip, not one a window.
  std::vector<std::pair<xcb_get_window_attributes_cookie_t, xcb_get_geometry_cookie_t>> asked;
  for (int i = 0; i < count; ++i) asked.emplace_back(xcb_get_window_attributes(c, children[i]), xcb_get_geometry(c, children[i]));
  for (int i = 0; i < count; ++i) {
    // A window gone since the tree was read answers with an error, taken here so Qt logs nothing.
    xcb_generic_error_t *attributes_error = nullptr, *geometry_error = nullptr;
    const auto attributes = Own(xcb_get_window_attributes_reply(c, asked[i].first, &attributes_error));
    const auto geometry = Own(xcb_get_geometry_reply(c, asked[i].second, &geometry_error));
    free(attributes_error);
    free(geometry_error);
    if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
        attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
      continue;
    const int border = 2 * geometry->border_width;
    viewable.push_back({children[i], {geometry->x, geometry->y, geometry->width + border, geometry->height + border}});
  }
  return viewable;
}

X11WindowWatcher::X11WindowWatcher(uint32_t window, std::function<void(QSize)> resized, std::function<void()> destroyed)
    : window_(window), resized_(std::move(resized)), destroyed_(std::move(destroyed)) {
  AddEvents(window, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
  QCoreApplication::instance()->installNativeEventFilter(this);
}

X11WindowWatcher::~X11WindowWatcher() {
  if (QCoreApplication::instance()) QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool X11WindowWatcher::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
  if (type != "xcb_generic_event_t") return false;
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  switch (event->response_type & 0x7f) {
    case XCB_CONFIGURE_NOTIFY: {
      const auto* configure = static_cast<const xcb_configure_notify_event_t*>(message);
      if (configure->window == window_) resized_(QSize(configure->width, configure->height));
      break;
    }
    case XCB_DESTROY_NOTIFY:
      if (static_cast<const xcb_destroy_notify_event_t*>(message)->window == window_) destroyed_();
      break;
  }
  return false;
}

}  // namespace lumox
