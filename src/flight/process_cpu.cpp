#include "flight/process_cpu.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <string>

namespace lumox {

long long ProcStatCpuTicks(std::string_view stat) {
  // The fields after the command name, which ends at the last ')': state is field 3, utime 14
  // and stime 15.
  const size_t name_end = stat.rfind(')');
  if (name_end == std::string_view::npos) return -1;
  std::string_view rest = stat.substr(name_end + 1);
  long long ticks = 0;
  for (int field = 3; field <= 15; ++field) {
    const size_t start = rest.find_first_not_of(' ');
    if (start == std::string_view::npos) return -1;
    rest.remove_prefix(start);
    const size_t end = std::min(rest.find(' '), rest.size());
    if (field >= 14) {
      long long value = 0;
      const auto [next, error] = std::from_chars(rest.data(), rest.data() + end, value);
      if (error != std::errc() || next != rest.data() + end) return -1;
      ticks += value;
    }
    rest.remove_prefix(end);
  }
  return ticks;
}

double ProcStatCpuSeconds() {
  std::ifstream file("/proc/self/stat");
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const long long ticks = ProcStatCpuTicks(text);
  return ticks < 0 ? -1.0 : static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace lumox
