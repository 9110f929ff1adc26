#pragma once
// The CPU time the whole process has used, as the kernel counts it in /proc/self/stat: user and
// system time of every thread, Mesa's llvmpipe threads included.
#include <string_view>

namespace lumox {

// User plus system time in clock ticks from the text of a /proc/<pid>/stat file; -1 if the text
// is not one. The command name may itself hold spaces and parentheses.
long long ProcStatCpuTicks(std::string_view stat);

// This process's CPU time in seconds; -1 if /proc can't be read.
double ProcStatCpuSeconds();

}  // namespace lumox
