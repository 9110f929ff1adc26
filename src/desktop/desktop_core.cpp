#include "desktop/desktop_core.h"

#include <algorithm>
#include <cmath>

namespace lumox {

void OutputPlan::Added(uint32_t output) { outputs_.try_emplace(output, Output{next_order_++, {}}); }

std::vector<OutputChange> OutputPlan::Described(uint32_t output, const std::string& name) {
  const auto found = outputs_.find(output);
  if (found == outputs_.end()) return {};
  Output& o = found->second;
  o.name = name;
  o.described = true;
  if (o.flying == Wanted(o)) return {};
  o.flying = !o.flying;  // a renamed output may leave or join the wanted one
  return {{o.flying ? OutputChange::kFly : OutputChange::kLand, output}};
}

std::vector<OutputChange> OutputPlan::Removed(uint32_t output) {
  const auto found = outputs_.find(output);
  if (found == outputs_.end()) return {};
  const bool flying = found->second.flying;
  outputs_.erase(found);
  if (!flying) return {};
  return {{OutputChange::kLand, output}};
}

std::vector<OutputChange> OutputPlan::Closed(uint32_t output) {
  if (!Flying(output)) return {};
  return {{OutputChange::kLand, output}, {OutputChange::kFly, output}};
}

bool OutputPlan::Flying(uint32_t output) const {
  const auto found = outputs_.find(output);
  return found != outputs_.end() && found->second.flying;
}

std::vector<std::string> OutputPlan::Names() const {
  std::vector<const Output*> described;
  for (const auto& [id, o] : outputs_)
    if (o.described) described.push_back(&o);
  std::sort(described.begin(), described.end(), [](const Output* a, const Output* b) { return a->order < b->order; });
  std::vector<std::string> names;
  for (const Output* o : described) names.push_back(o->name);
  return names;
}

bool OutputPlan::WantedPresent() const {
  return std::any_of(outputs_.begin(), outputs_.end(), [this](const auto& entry) {
    return entry.second.described && Wanted(entry.second);
  });
}

std::string NoSuchOutput(const std::string& wanted, const std::vector<std::string>& names) {
  std::string listed;
  for (const std::string& name : names) listed += (listed.empty() ? "" : ", ") + name;
  if (listed.empty()) listed = "none";
  return "No output '" + wanted + "'; the outputs are " + listed + ".";
}

bool WakeWatch::Pointer(uint32_t output, double x, double y) {
  if (!seen_) {
    seen_ = true;
    output_ = output;
    x_ = x;
    y_ = y;
    return false;
  }
  return output != output_ || std::hypot(x - x_, y - y_) > kDistance;
}

}  // namespace lumox
