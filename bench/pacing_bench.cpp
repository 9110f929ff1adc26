// Frame pacing and CPU use of the real display window. Runs the window as the program does (its
// settings come from a settings file in a fresh data folder), lets Timer1 and Timer2 drive it,
// and prints the intervals between frames, the frame rate, the CPU time of shading plus render
// per frame and the whole process's CPU use.
//
//   pacing_bench [seconds] [star_size] [speed] [--widget]
//
// With --widget the same frames go through a QOpenGLWidget (drawn into an offscreen buffer that
// Qt then composites into the window) instead of the program's direct surface, for comparison.
#include <time.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <string>
#include <cstdio>
#include <fstream>
#include <vector>

#include <QMainWindow>
#include <QOpenGLWidget>

#include "flight/frame.h"
#include "flight/process_cpu.h"
#include "display/surface_window.h"

namespace {

double ProcessCpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return t.tv_sec + t.tv_nsec * 1e-9;
}

double Percentile(std::vector<double> v, double p) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  return v[static_cast<size_t>(p * (v.size() - 1) + 0.5)];
}

// The composited alternative: the frame drawn in paintGL, shown by repaint() on each tick.
class WidgetSurface : public QOpenGLWidget {
 public:
  explicit WidgetSurface(lumox::StarField* field) : field_(field) {
    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setVersion(2, 1);
    format.setDepthBufferSize(24);
    format.setSwapInterval(0);
    setFormat(format);
  }

 protected:
  void paintGL() override { lumox::Surface_Render(*field_, lumox::MesaGl()); }

 private:
  lumox::StarField* field_;
};

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 12.0;
  const char* star_size = argc > 2 ? argv[2] : "1.92";
  const char* speed = argc > 3 ? argv[3] : "0.0035";

  QTemporaryDir data_home;
  qputenv("XDG_DATA_HOME", data_home.path().toUtf8());
  {
    std::ofstream prefs((data_home.path() + "/LumoxPrefs").toStdString());
    prefs << "35\n" << speed << "\n170\n" << star_size << "\n50000\n";
  }
  const bool widget = argc > 4 && std::string(argv[4]) == "--widget";
  QApplication app(argc, argv);
  lumox::SurfaceWindow* window = lumox::SurfaceWindow::Instance();
  window->Timer1()->stop();
  QMainWindow composited;
  WidgetSurface* surface = nullptr;
  std::function<void()> tick = [window] { window->Timer1_Action(); };
  if (widget) {
    // The program's window stays open behind (with its Timer2), but draws no more frames.
    surface = new WidgetSurface(window);
    composited.setCentralWidget(surface);
    composited.showFullScreen();
    tick = [window, surface] {
      lumox::ShadeStars(*window);
      surface->repaint();
    };
  }

  // Timer1's own action, timed: the same 30 ms precise timer the window runs, with a clock around it.
  QTimer timer1;
  timer1.setTimerType(Qt::PreciseTimer);
  timer1.setInterval(30);
  QElapsedTimer clock;
  std::vector<double> tick_times, frame_times, frame_cpu;
  QObject::connect(&timer1, &QTimer::timeout, [&] {
    tick_times.push_back(clock.nsecsElapsed() * 1e-6);
    const double cpu0 = ProcessCpuSeconds();
    tick();
    frame_cpu.push_back((ProcessCpuSeconds() - cpu0) * 1e3);
    frame_times.push_back(clock.nsecsElapsed() * 1e-6);
  });

  double cpu_start = 0;
  qint64 wall_start = 0;
  // Let the window settle into full screen before measuring.
  QTimer::singleShot(1500, [&] {
    tick_times.clear();
    frame_times.clear();
    frame_cpu.clear();
    cpu_start = lumox::ProcStatCpuSeconds();
    wall_start = clock.nsecsElapsed();
  });
  QTimer::singleShot(static_cast<int>(1500 + seconds * 1000), [&] { app.quit(); });
  clock.start();
  timer1.start();
  app.exec();

  const double wall = (clock.nsecsElapsed() - wall_start) * 1e-9;
  const double cpu = lumox::ProcStatCpuSeconds() - cpu_start;
  // Frames reach the screen when the swap returns; the ticks themselves are listed beside them.
  std::vector<double> intervals, tick_intervals;
  for (size_t i = 1; i < frame_times.size(); ++i) intervals.push_back(frame_times[i] - frame_times[i - 1]);
  for (size_t i = 1; i < tick_times.size(); ++i) tick_intervals.push_back(tick_times[i] - tick_times[i - 1]);
  if (const char* dump = std::getenv("PACING_DUMP")) {
    std::FILE* f = std::fopen(dump, "w");
    for (size_t i = 0; i < intervals.size(); ++i) std::fprintf(f, "%.3f %.3f\n", intervals[i], frame_cpu[i + 1]);
    std::fclose(f);
  }
  std::printf("%s\n", widget ? "QOpenGLWidget, composited" : "direct surface");
  std::printf("window %dx%d, stars %lld, star size %s, speed %s, timer2 period %lld ms, %.1f s\n",
              window->width(), window->height(), static_cast<long long>(window->StarMax), star_size, speed,
              static_cast<long long>(window->Timer2()->Period()), wall);
  std::printf("frames %zu, %.2f per second\n", frame_times.size(), frame_times.size() / wall);
  std::printf("frame interval: median %.2f ms, 99th percentile %.2f ms, max %.2f ms\n", Percentile(intervals, 0.5),
              Percentile(intervals, 0.99), Percentile(intervals, 1.0));
  std::printf("tick interval:  median %.2f ms, 99th percentile %.2f ms, max %.2f ms\n",
              Percentile(tick_intervals, 0.5), Percentile(tick_intervals, 0.99), Percentile(tick_intervals, 1.0));
  std::printf("shading + render CPU per frame: median %.2f ms, 99th percentile %.2f ms\n", Percentile(frame_cpu, 0.5),
              Percentile(frame_cpu, 0.99));
  std::printf("process CPU (/proc/self/stat): %.1f%% of one core\n", 100.0 * cpu / wall);
  return 0;
}
