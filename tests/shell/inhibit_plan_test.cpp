#include "shell/inhibit_plan.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace lumox {
namespace {

// One event fed to the plan and the request it must give back ("-" for none).
struct Line {
  const char* event;  // show, hide, grant, gone (refused: no service), fail (refused otherwise)
  const char* step;   // ask/release, then ss, old or portal
};

std::string Name(const std::optional<InhibitStep>& step) {
  if (!step) return "-";
  const char* route = step->route == InhibitRoute::ScreenSaver          ? "ss"
                      : step->route == InhibitRoute::ScreenSaverOldPath ? "old"
                                                                        : "portal";
  return std::string(step->kind == InhibitStep::Kind::Ask ? "ask " : "release ") + route;
}

void Play(const char* title, const std::vector<Line>& script) {
  InhibitPlan plan;
  for (size_t i = 0; i < script.size(); ++i) {
    const std::string event = script[i].event;
    const std::optional<InhibitStep> step = event == "show"    ? plan.SetShown(true)
                                            : event == "hide"  ? plan.SetShown(false)
                                            : event == "grant" ? plan.Granted()
                                            : event == "gone"  ? plan.Refused(InhibitRefusal::NoService)
                                                               : plan.Refused(InhibitRefusal::Other);
    EXPECT_EQ(Name(step), script[i].step) << title << ", line " << i << " (" << event << ")";
  }
}

TEST(InhibitPlan, HoldsWhileShownWithOneRequestInFlight) {
  Play("minimise and restore", {{"show", "ask ss"}, {"grant", "-"}, {"show", "-"}, {"hide", "release ss"},
                               {"hide", "-"}, {"show", "ask ss"}, {"grant", "-"}, {"hide", "release ss"}});
  Play("minimised while asking: the late grant is given back", {{"show", "ask ss"}, {"hide", "-"},
                                                               {"grant", "release ss"}, {"show", "ask ss"}});
  Play("minimised and restored while asking: the grant is kept",
      {{"show", "ask ss"}, {"hide", "-"}, {"show", "-"}, {"grant", "-"}, {"hide", "release ss"}});
  Play("answers to nothing asked change nothing", {{"grant", "-"}, {"gone", "-"}, {"hide", "-"}, {"show", "ask ss"},
                                                  {"grant", "-"}, {"grant", "-"}, {"fail", "-"}, {"hide", "release ss"}});
}

TEST(InhibitPlan, FallsBackFromTheScreenSaverToThePortal) {
  Play("no screensaver service: straight to the portal",
      {{"show", "ask ss"}, {"gone", "ask portal"}, {"grant", "-"}, {"hide", "release portal"}, {"show", "ask ss"}});
  Play("the service without the usual object: its old path, then the portal",
      {{"show", "ask ss"}, {"fail", "ask old"}, {"grant", "-"}, {"hide", "release old"},
       {"show", "ask ss"}, {"fail", "ask old"}, {"fail", "ask portal"}, {"fail", "-"}, {"hide", "-"},
       {"show", "ask ss"}, {"fail", "ask old"}, {"gone", "ask portal"}, {"gone", "-"}});
  Play("refused while minimised: nothing more until shown again",
      {{"show", "ask ss"}, {"hide", "-"}, {"gone", "-"}, {"grant", "-"}, {"show", "ask ss"}});
}

}  // namespace
}  // namespace lumox
