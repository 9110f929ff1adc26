#include "settings/data_folder.h"

#include <gtest/gtest.h>

namespace lumox {
namespace {

TEST(DataFolder, AbsoluteXdgDataHomeElseHomeElseThePasswordDatabase) {
  struct Case {
    const char *xdg, *home, *passwd, *folder;
  };
  const Case cases[] = {
      {"/x/data", "/home/u", "/home/p", "/x/data"},
      {"/x/data//", "/home/u", "/home/p", "/x/data"},
      {nullptr, "/home/u", "/home/p", "/home/u/.local/share"},
      {"", "/home/u/", "/home/p", "/home/u/.local/share"},
      {"x/data", "/home/u", "/home/p", "/home/u/.local/share"},  // relative: ignored
      {"~/data", "/home/u", "/home/p", "/home/u/.local/share"},
      {nullptr, nullptr, "/home/p", "/home/p/.local/share"},
      {nullptr, "", "/home/p", "/home/p/.local/share"},
      {"rel", "home/u", "/home/p", "/home/p/.local/share"},
      {nullptr, "/", "/home/p", "/.local/share"},
      {nullptr, nullptr, "/", "/.local/share"},
      {nullptr, nullptr, nullptr, ""},
      {"rel", "", "", ""},
      {nullptr, nullptr, "home/p", ""},
      {"/", nullptr, nullptr, "/"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(DataFolder(c.xdg, c.home, c.passwd), c.folder)
        << (c.xdg ? c.xdg : "(unset)") << " | " << (c.home ? c.home : "(unset)") << " | "
        << (c.passwd ? c.passwd : "(none)");
  }
}

}  // namespace
}  // namespace lumox
