#define GL_GLEXT_PROTOTYPES 1  // glWindowPos2i is OpenGL 1.4, declared with the extensions
#include "flight/fps_readout.h"

#include <GL/gl.h>

#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <cmath>

#include "flight/process_cpu.h"

namespace lumox {

const OverlayGlApi& MesaOverlayGl() {
  static const OverlayGlApi table{glPushAttrib, glPopAttrib, glEnable, glBlendFunc, glWindowPos2i, glDrawPixels};
  return table;
}

OverlayPicture FpsReadout::Frame(double pixel_ratio) {
  if (!meter_.Started()) {
    clock_.start();
    meter_.Start(0.0, ProcStatCpuSeconds());
  }
  const double now = static_cast<double>(clock_.nsecsElapsed()) * 1e-9;
  if (meter_.Frame(now)) {
    const FpsReading reading = meter_.TakeReading(now, ProcStatCpuSeconds());
    text_ = QString::fromStdString(FpsText(reading));
    picture_ = ReadoutPicture(text_, pixel_ratio).mirrored();
    ratio_ = pixel_ratio;
  } else if (pixel_ratio != ratio_ && !text_.isEmpty()) {
    // The output's scale changed: the same text at the new size.
    picture_ = ReadoutPicture(text_, pixel_ratio).mirrored();
    ratio_ = pixel_ratio;
  }
  if (picture_.isNull()) return {};
  return {picture_.width(), picture_.height(), picture_.constBits()};
}

QImage ReadoutPicture(const QString& text, double pixel_ratio) {
  const auto scaled = [pixel_ratio](int logical) { return static_cast<int>(std::lround(logical * pixel_ratio)); };
  QFont font;
  font.setPixelSize(scaled(14));
  font.setBold(true);
  const QFontMetrics metrics(font);
  const QSize padding(scaled(6), scaled(3));
  const QSize size(metrics.horizontalAdvance(text) + 2 * padding.width(), metrics.height() + 2 * padding.height());
  // Rows of four bytes a pixel keep glDrawPixels' default unpack alignment of 4.
  QImage picture(size, QImage::Format_RGBA8888_Premultiplied);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0, 0, 0, 160));
  painter.drawRoundedRect(QRectF(picture.rect()), scaled(4), scaled(4));
  painter.setFont(font);
  painter.setPen(QColor(0x66, 0xFF, 0x66));  // the title's pale green, a colour no star has
  painter.drawText(QRect(QPoint(padding.width(), padding.height()), size - 2 * padding), Qt::AlignLeft | Qt::AlignVCenter, text);
  return picture;
}

}  // namespace lumox
