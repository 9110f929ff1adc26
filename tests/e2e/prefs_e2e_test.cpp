// The settings window driven with real keys and clicks on a private X server.
#include "e2e/desktop.h"
#include "support/defaults_table.h"

namespace lumox::e2e {
namespace {

const QRgb kGrey = qRgb(0xCC, 0xCC, 0xCC);
const QPoint kClient(10, 50);              // where the window's client area stands
const int kSlider2Row = kClient.y() + 85;  // crosses Slider2's handle but passes above its groove

// Middle of Slider2's handle: on its row only the handle breaks the grey.
int Slider2Handle(const QImage& shot) {
  int first = -1, last = -1;
  for (int x = kClient.x() + 137; x < kClient.x() + 391; ++x)
    if (shot.pixel(x, kSlider2Row) != kGrey) first = first < 0 ? x : first, last = x;
  return (first + last) / 2;
}

// A screen wider than the star array allows for, and a settings file already there.
TEST(PrefsE2E, SlidersActAtOnceRestoreDefaultsHoldsTheCountAndOkRewritesTheFile) {
  Session lumox({.outputs = {{3840, 1080}}, .prefs = kOddPrefs});
  ASSERT_FALSE(lumox.Fly().empty());
  lumox.Xdo("key s");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", Focused));
  // Drawn, with the pointer free to use it: the grey of its client area is on the screen.
  ASSERT_TRUE(WaitFor([&] { return lumox.Screenshot().pixel(kClient + QPoint(5, 5)) == kGrey; }));
  EXPECT_EQ(lumox.Window("Settings").geometry, QRect(kClient, QSize(411, 214)));
  const QImage shot = lumox.Screenshot();
  // Client-area points clear of every control are the window's grey.
  for (const QPoint p : {QPoint(5, 5), QPoint(405, 208), QPoint(60, 170), QPoint(270, 177)})
    EXPECT_EQ(shot.pixel(kClient + p), kGrey) << p.x() << "," << p.y();

  // The display beside the window: stars from the file's count, then from the slider's least.
  const QRect field(1000, 300, 2800, 700);
  const int before = LitPixels(shot.copy(field));
  EXPECT_GT(before, 1000);
  const int handle = Slider2Handle(shot);
  lumox.Xdo(MouseTo({handle, kSlider2Row + 4}) + " mousedown 1 " + MouseTo({handle - 20, kSlider2Row + 4}) + " " +
            MouseTo({100, kSlider2Row + 4}) + " mouseup 1");
  QImage thinned;
  EXPECT_TRUE(WaitFor([&] { return LitPixels((thinned = lumox.Screenshot()).copy(field)) < before / 20; }));
  EXPECT_LT(Slider2Handle(thinned), handle - 50);  // the handle went with the mouse, to the left end

  // Restore Defaults: 15 stars per pixel of width, held to the array's 50000.
  lumox.Xdo(MouseTo(kClient + QPoint(85, 191)) + " click 1");
  EXPECT_TRUE(lumox.WaitForLit(field, before / 2));
  lumox.Xdo("key Return");  // OK, the default button, though the click left Restore Defaults in focus
  EXPECT_TRUE(lumox.WaitForWindow("Settings", [](const WindowState& w) { return !w.shown; }));
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), testing::DefaultsFor(3840)->file);
}

}  // namespace
}  // namespace lumox::e2e
