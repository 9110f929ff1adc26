// Draws the pictures that ship with Lumox: a close-up of the star field and the
// program's icon, in the colours the flight itself gives its stars.
//
//   make_pictures <output directory>
//
// writes "lumox2closseup.jpeg" (start window), "closeup" (about window, JPEG data
// without an extension) and the icon in every size the desktop asks for, as
// "icons/hicolor/<N>x<N>/apps/net.tallowby.Lumox.png". The output is the same on
// every run.

#include <QColor>
#include <QDir>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

class SplitMix64 {
 public:
  explicit SplitMix64(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }

  // In [0, 1), 53 bits.
  double Uniform() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }

 private:
  std::uint64_t state_;
};

struct Rgb {
  double r = 0.0;
  double g = 0.0;
  double b = 0.0;
};

constexpr int kColourSpread = 170;
constexpr double kFarDepth = 3.0;   // where the depth factor reaches 0
constexpr double kNearDepth = 0.12;

// The star colours of the flight: green never above the larger of red and blue.
Rgb StarColour(SplitMix64& rng, double brightness) {
  const double red = (105.0 * rng.Uniform() + kColourSpread) * brightness / 255.0;
  const double blue = (105.0 * rng.Uniform() + kColourSpread) * brightness / 255.0;
  const double green = std::min(
      std::max(red, blue), (30.0 * rng.Uniform() + (kColourSpread + 50)) * brightness / 255.0);
  return {red, green, blue};
}

// Like the flight's shading: 1.4 at the camera, down to 0 at the far plane.
double DepthFactor(double depth) { return 1.4 * (kFarDepth - depth) / kFarDepth; }

QColor ToColour(const Rgb& c, double gain, int alpha = 255) {
  auto channel = [gain](double v) { return std::clamp(static_cast<int>(std::lround(v * gain * 255.0)), 0, 255); };
  return QColor(channel(c.r), channel(c.g), channel(c.b), alpha);
}

// Smooth value noise on a lattice, summed over a few octaves.
class Haze {
 public:
  explicit Haze(std::uint64_t seed) {
    SplitMix64 rng(seed);
    for (double& v : lattice_) v = rng.Uniform();
  }

  double Fbm(double x, double y) const {
    double sum = 0.0;
    double amplitude = 0.5;
    for (int octave = 0; octave < 5; ++octave) {
      sum += amplitude * Value(x, y);
      x = x * 2.03 + 17.1;
      y = y * 2.03 + 5.7;
      amplitude *= 0.5;
    }
    return sum / 0.96875;
  }

 private:
  static constexpr int kSize = 64;

  double At(int ix, int iy) const { return lattice_[static_cast<std::size_t>((iy & (kSize - 1)) * kSize + (ix & (kSize - 1)))]; }

  double Value(double x, double y) const {
    const double fx = std::floor(x);
    const double fy = std::floor(y);
    const int ix = static_cast<int>(fx);
    const int iy = static_cast<int>(fy);
    double tx = x - fx;
    double ty = y - fy;
    tx = tx * tx * (3.0 - 2.0 * tx);
    ty = ty * ty * (3.0 - 2.0 * ty);
    const double top = At(ix, iy) + (At(ix + 1, iy) - At(ix, iy)) * tx;
    const double bottom = At(ix, iy + 1) + (At(ix + 1, iy + 1) - At(ix, iy + 1)) * tx;
    return top + (bottom - top) * ty;
  }

  double lattice_[kSize * kSize] = {};
};

struct Scene {
  int width;
  int height;
  std::uint64_t seed;
  int stars;
  double starGain;      // overall level of the stars
  double hazeGain;      // level of the bluish haze, 0 for none
  double darkFrom;      // fraction of the height where the darkening starts
  double darkTo;        // where it reaches full strength
  int darkAlpha;        // full strength of the darkening, 0..255
  int topDarkAlpha;     // darkening over the whole picture, 0..255
  double nearLimitY;    // near stars with a glow only above this fraction of the height
  double starScale;     // size of the points, 1 for the large picture
};

void PaintHaze(QImage& image, const Scene& scene) {
  if (scene.hazeGain <= 0.0) return;
  const Haze haze(scene.seed ^ 0x5EEDull);
  const double scale = 3.2 / std::max(scene.width, scene.height);
  for (int y = 0; y < scene.height; ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < scene.width; ++x) {
      const double u = x * scale;
      const double v = y * scale;
      // Warp one noise field by another to get wisps rather than blobs.
      const double warp = haze.Fbm(u * 0.7 + 3.3, v * 0.7 + 9.1);
      const double n = haze.Fbm(u + 1.8 * warp, v + 1.8 * warp);
      // A diagonal band through the upper left half.
      const double fx = static_cast<double>(x) / scene.width;
      const double fy = static_cast<double>(y) / scene.height;
      const double band = std::exp(-std::pow((fy - 0.65 * fx - 0.05) / 0.28, 2.0));
      double cloud = std::max(0.0, n - 0.42) * 2.4 * band;
      cloud = cloud * cloud * scene.hazeGain;
      const double tint = haze.Fbm(u * 0.5 + 40.0, v * 0.5);  // blue to violet
      const double r = cloud * (0.22 + 0.35 * tint);
      const double g = cloud * 0.30;
      const double b = cloud * 0.85;
      line[x] = qRgb(std::clamp(static_cast<int>(r * 255.0), 0, 255), std::clamp(static_cast<int>(g * 255.0), 0, 255),
                     std::clamp(static_cast<int>(b * 255.0), 0, 255));
    }
  }
}

void PaintStar(QPainter& painter, QPointF centre, double radius, const Rgb& colour, double gain, bool glow) {
  if (glow) {
    const double glowRadius = radius * 7.0;
    QRadialGradient halo(centre, glowRadius);
    halo.setColorAt(0.0, ToColour(colour, gain * 0.45));
    halo.setColorAt(0.25, ToColour(colour, gain * 0.12));
    halo.setColorAt(1.0, QColor(0, 0, 0));
    painter.setBrush(halo);
    painter.drawEllipse(centre, glowRadius, glowRadius);

    // Faint cross of light, as a lens gives to a bright point.
    const double spike = radius * 11.0;
    for (int k = 0; k < 2; ++k) {
      QLinearGradient ray(centre.x() - (k == 0 ? spike : 0.0), centre.y() - (k == 1 ? spike : 0.0),
                          centre.x() + (k == 0 ? spike : 0.0), centre.y() + (k == 1 ? spike : 0.0));
      ray.setColorAt(0.0, QColor(0, 0, 0));
      ray.setColorAt(0.5, ToColour(colour, gain * 0.35));
      ray.setColorAt(1.0, QColor(0, 0, 0));
      painter.setBrush(ray);
      const double thin = std::max(0.6, radius * 0.18);
      if (k == 0)
        painter.drawRect(QRectF(centre.x() - spike, centre.y() - thin, 2.0 * spike, 2.0 * thin));
      else
        painter.drawRect(QRectF(centre.x() - thin, centre.y() - spike, 2.0 * thin, 2.0 * spike));
    }
  }

  // A point smaller than a pixel keeps one pixel's size but loses light.
  double level = gain;
  double drawn = radius;
  if (radius < 0.9) {
    level *= (radius * radius) / (0.9 * 0.9);
    drawn = 0.9;
  }
  QRadialGradient core(centre, drawn * 1.6);
  const double hot = glow ? 0.35 : 0.0;  // near stars burn whiter at the centre
  const Rgb white{colour.r + hot, colour.g + hot, colour.b + hot};
  core.setColorAt(0.0, ToColour(white, level));
  core.setColorAt(0.45, ToColour(colour, level * 0.85));
  core.setColorAt(1.0, QColor(0, 0, 0));
  painter.setBrush(core);
  painter.drawEllipse(centre, drawn * 1.6, drawn * 1.6);
}

QImage Render(const Scene& scene) {
  QImage image(scene.width, scene.height, QImage::Format_RGB32);
  image.fill(Qt::black);
  PaintHaze(image, scene);

  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setCompositionMode(QPainter::CompositionMode_Plus);

  SplitMix64 rng(scene.seed);
  struct Star {
    QPointF at;
    double depth;
    double brightness;
    Rgb colour;
  };
  std::vector<Star> stars;
  stars.reserve(static_cast<std::size_t>(scene.stars));
  for (int i = 0; i < scene.stars; ++i) {
    Star s;
    s.at = QPointF(rng.Uniform() * scene.width, rng.Uniform() * scene.height);
    // Uniform in the viewing volume: far depths hold more stars.
    const double lo = kNearDepth * kNearDepth * kNearDepth;
    const double hi = kFarDepth * kFarDepth * kFarDepth;
    s.depth = std::cbrt(lo + (hi - lo) * rng.Uniform());
    s.brightness = rng.Uniform() + 0.2;
    s.colour = StarColour(rng, s.brightness);
    stars.push_back(s);
  }
  // Far ones first, so the near ones lie on top.
  std::stable_sort(stars.begin(), stars.end(), [](const Star& a, const Star& b) { return a.depth > b.depth; });

  const double pixelScale = scene.starScale;
  for (const Star& s : stars) {
    const double shade = DepthFactor(s.depth);
    const double radius = (0.35 + 0.55 / s.depth) * pixelScale;
    const bool near = s.depth < 0.6 && s.at.y() < scene.nearLimitY * scene.height;
    // Near stars below the limit are pushed back to a plain point.
    const double r = (s.depth < 0.6 && !near) ? std::min(radius, 1.4 * pixelScale) : radius;
    PaintStar(painter, s.at, r, s.colour, shade * scene.starGain, near);
  }

  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  if (scene.topDarkAlpha > 0) painter.fillRect(image.rect(), QColor(0, 0, 0, scene.topDarkAlpha));
  QLinearGradient dark(0.0, scene.darkFrom * scene.height, 0.0, scene.darkTo * scene.height);
  dark.setColorAt(0.0, QColor(0, 0, 0, 0));
  dark.setColorAt(1.0, QColor(0, 0, 0, scene.darkAlpha));
  painter.fillRect(image.rect(), dark);
  painter.end();
  return image;
}

// The icon: a few stars on a black tile, seen as in the flight: the nearest large and
// bright with a glow, the farther ones smaller and darker by the flight's depth shading.
struct IconStar {
  double x, y;        // place on the tile, 0..1
  double depth;       // as in the flight, 0 (camera) to 3 (far plane)
  double brightness;  // the star's own, 0.2..1.2
  int fromSize;       // drawn in icons of this size and larger
};

constexpr IconStar kIconStars[] = {
    {0.37, 0.38, 0.30, 1.10, 16},  // the near one, with its glow
    {0.69, 0.67, 0.65, 1.15, 16},
    {0.73, 0.26, 0.95, 1.15, 16},
    {0.26, 0.74, 0.90, 1.10, 24},
    {0.85, 0.50, 1.40, 1.15, 32},
    {0.50, 0.86, 1.50, 1.10, 32},
    {0.20, 0.20, 1.70, 1.15, 48},
    {0.55, 0.14, 1.80, 1.10, 48},
};

QImage RenderIcon(int size) {
  // Small icons get relatively larger stars, or they would vanish into a pixel.
  const double scale = size / 64.0 * std::pow(64.0 / std::min(size, 64), 0.6);
  const bool snap = size <= 32;  // whole-pixel centres keep the smallest icons crisp

  QImage field(size, size, QImage::Format_RGB32);
  field.fill(Qt::black);
  QPainter painter(&field);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setCompositionMode(QPainter::CompositionMode_Plus);

  // Faint far stars fill the larger icons; each star keeps its colour at every size.
  std::vector<IconStar> stars(std::begin(kIconStars), std::end(kIconStars));
  SplitMix64 placer(0x49636F6Eull);
  for (int i = 0; i < size / 8; ++i) {
    const double x = 0.1 + 0.8 * placer.Uniform();
    const double y = 0.1 + 0.8 * placer.Uniform();
    stars.push_back({x, y, 2.1 + 0.6 * placer.Uniform(), placer.Uniform() + 0.2, 64});
  }

  for (std::size_t i = 0; i < stars.size(); ++i) {
    const IconStar& s = stars[i];
    if (size < s.fromSize) continue;
    SplitMix64 rng(0x5374617200ull + i);
    const Rgb colour = StarColour(rng, s.brightness);
    QPointF at(s.x * size, s.y * size);
    if (snap) at = QPointF(std::floor(at.x()) + 0.5, std::floor(at.y()) + 0.5);
    const double radius = (0.35 + 0.55 / s.depth) * scale;
    PaintStar(painter, at, radius, colour, DepthFactor(s.depth), s.depth < 0.5);
  }
  painter.end();

  // The tile: the field inside a rounded square, transparent around it.
  QImage icon(size, size, QImage::Format_ARGB32);
  icon.fill(Qt::transparent);
  QPainter tile(&icon);
  tile.setRenderHint(QPainter::Antialiasing);
  tile.setPen(Qt::NoPen);
  tile.setBrush(QBrush(field));
  const double margin = size >= 32 ? size / 32.0 : 0.0;
  const QRectF square(margin, margin, size - 2.0 * margin, size - 2.0 * margin);
  tile.drawRoundedRect(square, square.width() * 0.18, square.width() * 0.18);
  tile.end();
  return icon;
}

constexpr int kIconSizes[] = {16, 24, 32, 48, 64, 128, 256, 512};

bool Save(const QImage& image, const QString& path, const char* format = "JPEG", int quality = 90) {
  if (!image.save(path, format, quality)) {
    std::fprintf(stderr, "make_pictures: cannot write %s\n", qPrintable(path));
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_pictures <output directory>\n");
    return 2;
  }
  const QDir out(QString::fromLocal8Bit(argv[1]));
  if (!out.exists()) {
    std::fprintf(stderr, "make_pictures: no such directory %s\n", argv[1]);
    return 1;
  }

  // Start window: the title sits on the lower third, so that part fades out.
  const Scene start{600, 600, 0x4C756D6F78ull, 2400, 1.15, 1.0, 0.52, 0.70, 215, 0, 0.55, 1.0};
  // About window: green text over nearly all of it, so it stays dim throughout.
  const Scene about{290, 270, 0x636C6F73ull, 520, 1.0, 0.7, 0.55, 0.95, 70, 40, 1.0, 1.0};

  bool ok = Save(Render(start), out.filePath(QStringLiteral("lumox2closseup.jpeg")));
  ok = Save(Render(about), out.filePath(QStringLiteral("closeup"))) && ok;
  for (const int size : kIconSizes) {
    const QString folder = QStringLiteral("icons/hicolor/%1x%1/apps").arg(size);
    out.mkpath(folder);
    ok = Save(RenderIcon(size), out.filePath(folder + QStringLiteral("/net.tallowby.Lumox.png")), "PNG", -1) && ok;
  }
  return ok ? 0 : 1;
}
