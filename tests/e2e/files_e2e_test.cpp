// The settings file where the world is unkind: odd things at its name, odd text, a failed save.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "e2e/desktop.h"
#include "support/defaults_table.h"

namespace lumox::e2e {
namespace {

namespace fs = std::filesystem;

// kOddPrefs as any run writes it back: five lines ended by "\n".
const char kOddWritten[] = "-35\n0.05\n200\n2.5\n30000\n";
const char* const kDefaults1440 = testing::DefaultsFor(1440)->file;

// The lines lumox wrote to stderr itself, leaving out what Qt says.
std::string OwnLines(const std::string& text) {
  std::istringstream in(text);
  std::string own;
  for (std::string line; std::getline(in, line);)
    if (line.starts_with("lumox")) own += line + "\n";
  return own;
}

// Each case flies, quits cleanly and leaves no temporary file; under umask 027 a new file is 0640.
TEST(FilesE2E, HostilePathsAndTextsNeitherStopTheFlightNorLoseTheFile) {
  using fs::file_type, fs::perms;
  // What is put at LumoxPrefs (../odd holds kOddPrefs; the fourth leaves a cut-off save), then its
  // type, link, the text and mode at its end, and the line after "could not save the settings to".
  const struct {
    const char* prepare;
    bool open_settings;  // which makes the save due where a file was there
    file_type type;
    const char *link, *text;
    perms mode;
    const char* error;
  } cases[] = {
      {"mkfifo -m 644 LumoxPrefs", false, file_type::fifo, nullptr, nullptr, {}, nullptr},
      {"mkdir dotfiles && install -m 644 ../odd dotfiles/lumox && ln -s dotfiles/lumox LumoxPrefs", true,
       file_type::symlink, "dotfiles/lumox", kOddWritten, perms(0644), nullptr},
      {"mkdir dotfiles && ln -s dotfiles/lumox LumoxPrefs", false, file_type::symlink, "dotfiles/lumox", kDefaults1440, perms(0640), nullptr},
      {"install -m 644 ../odd LumoxPrefs && printf -- '-35\\n0.0' >LumoxPrefs.q3Xk9Z && chmod 600 LumoxPrefs.q3Xk9Z", true,
       file_type::regular, nullptr, kOddWritten, perms(0644), nullptr},
      {"mkdir LumoxPrefs", true, file_type::directory, nullptr, nullptr, {}, "LumoxPrefs: Is a directory"},
      {"ln -s gone/lumox LumoxPrefs", false, file_type::symlink, "gone/lumox", nullptr, {}, "gone/lumox: No such file or directory"},
  };
  const std::regex temporary(R"((LumoxPrefs|lumox)\.[A-Za-z0-9]{6})");
  Session lumox({.start_lumox = false});
  std::ofstream(lumox.File("../odd"), std::ios::binary) << kOddPrefs;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.prepare);
    for (const auto& entry : fs::directory_iterator(lumox.File(""))) fs::remove_all(entry.path());
    EXPECT_EQ(RunCommand("cd " + lumox.File("") + " && " + c.prepare + " && echo ok"), "ok\n");
    const mode_t umask_before = umask(027);
    lumox.StartLumox({});
    umask(umask_before);
    const bool flying = !lumox.Fly().empty() && lumox.Running();
    EXPECT_TRUE(flying) << lumox.Stderr();
    if (!flying) continue;
    if (c.open_settings) {
      lumox.Xdo("key s");
      EXPECT_TRUE(lumox.WaitForWindow("Settings", Shown));
    }
    EXPECT_TRUE(lumox.Quit() && lumox.ExitStatus() == 0) << lumox.ExitStatus();

    // Each case goes on to the next whatever it finds, so no call here may throw.
    const std::string path = lumox.File("LumoxPrefs");
    std::error_code error;
    EXPECT_EQ(fs::symlink_status(path, error).type(), c.type);
    EXPECT_EQ(fs::read_symlink(path, error), c.link ? c.link : "");
    EXPECT_EQ(OwnLines(lumox.Stderr()), c.error ? "lumox: could not save the settings to " + lumox.File(c.error) + "\n" : "");
    for (fs::recursive_directory_iterator entry(lumox.File(""), error), end; !error && entry != end; entry.increment(error))
      EXPECT_FALSE(std::regex_match(entry->path().filename().string(), temporary)) << entry->path();
    if (!c.text) continue;
    EXPECT_EQ(lumox.Prefs(), c.text);
    EXPECT_EQ(fs::status(path, error).permissions(), c.mode);
  }
}

}  // namespace
}  // namespace lumox::e2e
