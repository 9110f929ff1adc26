#include "settings/data_folder.h"

#include <gtest/gtest.h>

namespace lumox {
namespace {

TEST(DataFolder, AbsoluteXdgDataHomeElseHomeElseThePasswordDatabase) {
  const struct {
    const char *xdg, *home, *passwd, *folder;
  } cases[] = {
      {"/x/data//", "/home/u", "/home/p", "/x/data"},
      {nullptr, "/home/u", "/home/p", "/home/u/.local/share"},
      {"", "/home/u/", "/home/p", "/home/u/.local/share"},
      {"~/data", "/home/u", "/home/p", "/home/u/.local/share"},  // relative: ignored
      {nullptr, nullptr, "/home/p", "/home/p/.local/share"},
      {nullptr, "", "/home/p", "/home/p/.local/share"},
      {"rel", "home/u", "/home/p", "/home/p/.local/share"},
      {nullptr, "/", "/home/p", "/.local/share"},
      {"rel", "", "", ""},
      {nullptr, nullptr, "home/p", ""},
      {"/", nullptr, nullptr, "/"},
  };
  for (const auto& c : cases) {
    const auto shown = [](const char* s) { return s ? s : "(unset)"; };
    EXPECT_EQ(DataFolder(c.xdg, c.home, c.passwd), c.folder) << shown(c.xdg) << " | " << shown(c.home) << " | " << shown(c.passwd);
  }
}

}  // namespace
}  // namespace lumox
