// The icon compiled into the program, as the windows get it.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QIcon>
#include <QImage>

#include <algorithm>

#include "shell/desktop_identity.h"
#include "support/pixels.h"

namespace lumox {
namespace {

TEST(DesktopIdentity, WindowIconHasEverySizeDrawnForItAndTheDesktopName) {
  SetDesktopIdentity();
  EXPECT_EQ(QGuiApplication::desktopFileName(), QStringLiteral("net.tallowby.Lumox"));

  const QIcon icon = QGuiApplication::windowIcon();
  QList<QSize> sizes = icon.availableSizes();
  std::sort(sizes.begin(), sizes.end(), [](QSize a, QSize b) { return a.width() < b.width(); });
  const QList<QSize> drawn{{16, 16}, {24, 24}, {32, 32}, {48, 48}, {64, 64}, {128, 128}};
  ASSERT_EQ(sizes, drawn);
  for (const QSize size : drawn) {
    // Each size is its own picture, not a scaled one: stars on a black tile with rounded corners.
    const QImage image = icon.pixmap(size).toImage().convertToFormat(QImage::Format_ARGB32);
    ASSERT_EQ(image.size(), size);
    EXPECT_LT(qAlpha(image.pixel(0, 0)), 32) << size.width();  // the tile's rounded corner
    EXPECT_EQ(qAlpha(image.pixel(size.width() / 2, size.height() / 2)), 255) << size.width();
    EXPECT_GE(testing::LitPixels(image, 100), 3) << size.width();
  }
}

}  // namespace
}  // namespace lumox
