#pragma once
// Which outputs carry a flight, as outputs come and go. Pure bookkeeping: the hosts feed it what
// the display server says and carry out the flights it asks for.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace lumox {

struct OutputChange {
  enum Kind { kFly, kLand } kind;
  uint32_t output;
  bool operator==(const OutputChange&) const = default;
};

class OutputPlan {
 public:
  // `wanted`: the one output to fly on, by name; empty for all of them.
  explicit OutputPlan(std::string wanted = {}) : wanted_(std::move(wanted)) {}

  // An output was announced; it gets no flight before it is described.
  void Added(uint32_t output);
  // The output's description is complete (or changed): its name is known now.
  std::vector<OutputChange> Described(uint32_t output, const std::string& name);
  // The output went away (unplugged or disabled): its flight, if any, lands. The others go on.
  std::vector<OutputChange> Removed(uint32_t output);
  // The display server took the output's flight away: one is made anew while the output exists.
  std::vector<OutputChange> Closed(uint32_t output);

  bool Flying(uint32_t output) const;
  // The described outputs' names, in the order they came.
  std::vector<std::string> Names() const;
  // Whether the wanted output (or, with none wanted, any output) is there.
  bool WantedPresent() const;

 private:
  struct Output {
    uint64_t order;
    std::string name;
    bool described = false;
    bool flying = false;
  };
  bool Wanted(const Output& output) const { return wanted_.empty() || output.name == wanted_; }
  std::string wanted_;
  std::map<uint32_t, Output> outputs_;
  uint64_t next_order_ = 0;
};

// The error line for an output that is not there, with those that are.
std::string NoSuchOutput(const std::string& wanted, const std::vector<std::string>& names);

// Tells when the user is back at a running saver: a key or a button at once, the pointer once it
// has moved more than a few pixels from where it was first seen, as a bump of the desk does not
// count. Positions are in logical pixels on one output; a pointer seen on another output moved.
class WakeWatch {
 public:
  static constexpr double kDistance = 8.0;
  bool Pointer(uint32_t output, double x, double y);

 private:
  bool seen_ = false;
  uint32_t output_ = 0;
  double x_ = 0.0, y_ = 0.0;
};

}  // namespace lumox
