// The settings file where the world is unkind: odd things at its name, odd text in it, a save
// that cannot be made.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "e2e/desktop.h"
#include "support/defaults_table.h"

namespace lumox::e2e {
namespace {

namespace fs = std::filesystem;

// kOddPrefs as any run writes it back: five lines ended by "\n".
const char kOddWritten[] = "-35\n0.05\n200\n2.5\n30000\n";
const char* const kDefaults1440 = testing::DefaultsFor(1440)->file;

// The lines lumox wrote to stderr itself, leaving out what Qt says.
std::vector<std::string> OwnLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (line.starts_with("lumox")) lines.push_back(line);
  return lines;
}

void WriteFile(const std::string& path, const std::string& text, fs::perms mode) {
  std::ofstream(path, std::ios::binary) << text;
  fs::permissions(path, mode);
}

struct Hostile {
  const char* name;
  std::function<void(const std::string& folder)> prepare;
  bool open_settings;  // which makes the save due where a file was there
  fs::file_type type;  // of LumoxPrefs itself afterwards
  const char* link;    // where it points, if a link
  const char* text;    // the text of the file it is or ends at, if a regular file
  fs::perms mode;      // that file's mode
  const char* error;   // the one line on stderr, after "could not save the settings to <folder>/"
};

// Every case, one after the other on one X server: lumox flies, keeps running, quits cleanly on
// Ctrl+Q, and leaves no temporary file. It runs under umask 027, so a new file is 0640 and a kept
// mode shows as itself.
TEST(FilesE2E, HostilePathsAndTextsNeitherStopTheFlightNorLoseTheFile) {
  using fs::perms;
  const perms rw_r__r__ = perms::owner_read | perms::owner_write | perms::group_read | perms::others_read;
  const perms rw_r_____ = perms::owner_read | perms::owner_write | perms::group_read;
  const auto file = [rw_r__r__](std::string text) {
    return [text, rw_r__r__](const std::string& folder) { WriteFile(folder + "/LumoxPrefs", text, rw_r__r__); };
  };
  const Hostile cases[] = {
      {"FIFO", [](const std::string& folder) { mkfifo((folder + "/LumoxPrefs").c_str(), 0644); }, false,
       fs::file_type::fifo, nullptr, nullptr, {}, nullptr},
      {"link to a dotfile",
       [rw_r__r__](const std::string& folder) {
         fs::create_directory(folder + "/dotfiles");
         WriteFile(folder + "/dotfiles/lumox", kOddPrefs, rw_r__r__);
         fs::create_symlink("dotfiles/lumox", folder + "/LumoxPrefs");
       },
       true, fs::file_type::symlink, "dotfiles/lumox", kOddWritten, rw_r__r__, nullptr},
      {"dangling link",
       [](const std::string& folder) {
         fs::create_directory(folder + "/dotfiles");
         fs::create_symlink("dotfiles/lumox", folder + "/LumoxPrefs");
       },
       false, fs::file_type::symlink, "dotfiles/lumox", kDefaults1440, rw_r_____, nullptr},
      {"mode 0644", file(kOddPrefs), true, fs::file_type::regular, nullptr, kOddWritten, rw_r__r__, nullptr},
      {"leftover of a cut-off save",
       [rw_r__r__](const std::string& folder) {
         WriteFile(folder + "/LumoxPrefs", kOddPrefs, rw_r__r__);
         WriteFile(folder + "/LumoxPrefs.q3Xk9Z", "-35\n0.0", perms::owner_read | perms::owner_write);
       },
       true, fs::file_type::regular, nullptr, kOddWritten, rw_r__r__, nullptr},
      {"folder named LumoxPrefs", [](const std::string& folder) { fs::create_directory(folder + "/LumoxPrefs"); },
       true, fs::file_type::directory, nullptr, nullptr, {}, "LumoxPrefs: Is a directory"},
      {"link into a missing folder",
       [](const std::string& folder) { fs::create_symlink("gone/lumox", folder + "/LumoxPrefs"); }, false,
       fs::file_type::symlink, "gone/lumox", nullptr, {}, "gone/lumox: No such file or directory"},
  };
  const std::regex temporary(R"((LumoxPrefs|lumox)\.[A-Za-z0-9]{6})");
  Session lumox({.start_lumox = false});
  for (const Hostile& c : cases) {
    SCOPED_TRACE(c.name);
    for (const auto& entry : fs::directory_iterator(lumox.File(""))) fs::remove_all(entry.path());
    c.prepare(lumox.File(""));
    const mode_t umask_before = umask(027);
    lumox.StartLumox({});
    umask(umask_before);
    const std::string window = lumox.Fly();
    EXPECT_FALSE(window.empty());
    EXPECT_TRUE(lumox.Running());
    if (window.empty() || !lumox.Running()) continue;
    if (c.open_settings) {
      lumox.Xdo("key s");
      EXPECT_TRUE(lumox.WaitForWindow("Settings", Shown));
    }
    EXPECT_TRUE(lumox.Quit());
    EXPECT_EQ(lumox.ExitStatus(), 0);

    // Each case goes on to the next whatever it finds, so no call here may throw.
    const std::string path = lumox.File("LumoxPrefs");
    std::error_code error;
    EXPECT_EQ(fs::symlink_status(path, error).type(), c.type);
    if (c.link) {
      EXPECT_EQ(fs::read_symlink(path, error), c.link);
    }
    if (c.text) {
      EXPECT_EQ(lumox.Prefs(), c.text);
      EXPECT_EQ(fs::status(path, error).permissions(), c.mode);
    }
    std::vector<std::string> expected_lines;
    if (c.error) expected_lines.push_back("lumox: could not save the settings to " + lumox.File(c.error));
    EXPECT_EQ(OwnLines(lumox.Stderr()), expected_lines);
    for (fs::recursive_directory_iterator entry(lumox.File(""), error), end; !error && entry != end;
         entry.increment(error))
      EXPECT_FALSE(std::regex_match(entry->path().filename().string(), temporary)) << entry->path();
  }
}

}  // namespace
}  // namespace lumox::e2e
