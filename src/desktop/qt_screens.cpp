#include "desktop/qt_screens.h"

#include <QGuiApplication>

namespace lumox {

void QtScreens::Watch() {
  for (QScreen* screen : QGuiApplication::screens()) Added(screen);
  connect(qApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) { Added(screen); });
  connect(qApp, &QGuiApplication::screenRemoved, this, [this](QScreen* screen) {
    for (const auto& [id, s] : screens_)
      if (s == screen) {
        sink_.OutputRemoved(id);
        screens_.erase(id);
        return;
      }
  });
}

void QtScreens::Added(QScreen* screen) {
  const uint32_t id = next_id_++;
  screens_[id] = screen;
  sink_.OutputAdded(id);
  // A screen that moves or changes size gets its surface anew, in its new place.
  connect(screen, &QScreen::geometryChanged, this, [this, id] { sink_.OutputReshaped(id); });
  sink_.OutputDescribed(id, screen->name().toStdString());
}

std::optional<ViewRect> QtScreens::Place(uint32_t output) const {
  const QScreen* screen = Screen(output);
  if (!screen) return std::nullopt;
  const QRect r = screen->geometry();
  return ViewRect{r.x(), r.y(), r.width(), r.height()};
}

QScreen* QtScreens::Screen(uint32_t output) const {
  const auto found = screens_.find(output);
  return found == screens_.end() ? nullptr : found->second.data();
}

}  // namespace lumox
