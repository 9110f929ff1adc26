// Where the settings file lives, and how a save ends when it fails or is cut off. Each test
// process has a fresh XDG_DATA_HOME (ui_main.cpp).
#include "settings/prefs_store.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <QDir>

#include "settings/prefs_format.h"
#include "shell/my_lib.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

namespace fs = std::filesystem;

std::string Path() { return PrefsFilePath().toStdString(); }
QByteArray Text(const Settings& s) { return QByteArray::fromStdString(JoinLines(WriteSettings(s))); }

QStringList Names() { return QDir(ApplicationDataFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot); }

// What `run` writes to stderr, held in memory: a file would be held to the size limit too.
std::string StderrOf(const std::function<void()>& run) {
  char* text = nullptr;
  size_t size = 0;
  FILE* const saved = stderr;
  stderr = open_memstream(&text, &size);
  run();
  std::fclose(stderr);
  stderr = saved;
  const std::string told(text, size);
  std::free(text);
  return told;
}

TEST(PrefsStore, WithoutHomeThePasswordDatabaseTellsWhereTheSettingsGo) {
  const std::string xdg = getenv("XDG_DATA_HOME"), home = getenv("HOME") ? getenv("HOME") : "";  // put back at the end
  unsetenv("HOME");
  unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(Path(), std::string(getpwuid(getuid())->pw_dir) + "/.local/share/LumoxPrefs");
  setenv("HOME", "/nowhere/home", 1);
  // The empty data folder stands in the same place.
  myLib::AppName = "Lumox";
  myLib::MakeBundleID();
  myLib::MakeApplicationFolder();
  EXPECT_EQ(myLib::ApplicationDataFolder, "/nowhere/home/.local/share/net.tallowby.Lumox");
  setenv("XDG_DATA_HOME", xdg.c_str(), 1);
  home.empty() ? unsetenv("HOME") : setenv("HOME", home.c_str(), 1);
}

// The file is read in pieces: a first line of 2 MiB still gives the five values.
TEST(PrefsStore, AFirstLineOfMegabytesIsReadThrough) {
  ASSERT_TRUE(testing::WritePrefs("-35" + QByteArray(2 << 20, ' ') + "\r\n0.05\r\n200\r\n2.5\r\n30000\r\n"));
  Settings read;
  ASSERT_EQ(LoadPrefsFile(read), PrefsFileState::Read);
  EXPECT_EQ(Text(read), "-35\n0.05\n200\n2.5\n30000\n");
}

TEST(PrefsStore, ACutOffSavesFileGoesAtTheNextSaveButThatOfARunningSaveStays) {
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(1000)));
  // A child killed at its first rename: its save is cut off between the write and the rename.
  std::vector<sock_filter> filter = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const unsigned call : {
#ifdef __NR_rename
           unsigned{__NR_rename},
#endif
           unsigned{__NR_renameat}, unsigned{__NR_renameat2}}) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  const pid_t child = fork();
  if (child == 0) {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
      _exit(2);
    SavePrefsFile(DefaultSettings(2000));
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) << status;
  // The old file whole, the new text beside it.
  EXPECT_EQ(testing::ReadPrefs(), Text(DefaultSettings(1000)));
  ASSERT_EQ(Names().size(), 2u);

  // Another instance halfway through its own save holds its file locked.
  const std::string running = Path() + ".Run123";
  const int fd = open(running.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  ASSERT_TRUE(fd >= 0 && flock(fd, LOCK_EX) == 0);
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(3000)));
  EXPECT_EQ(testing::ReadPrefs(), Text(DefaultSettings(3000)));
  EXPECT_EQ(Names(), QStringList({"LumoxPrefs", "LumoxPrefs.Run123"}));
  close(fd);  // that instance is gone before its rename
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(4000)));
  EXPECT_EQ(Names(), QStringList{"LumoxPrefs"});
}

TEST(PrefsStore, AFailedSaveSaysWhyInOneLineAndKeepsTheOldFileWhole) {
  ASSERT_TRUE(SavePrefsFile(DefaultSettings(1000)));
  // A disk that fills up after four bytes, for root too.
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{4, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  const std::string told = StderrOf([] { EXPECT_FALSE(SavePrefsFile(DefaultSettings(1440))); });
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_EQ(told, "lumox: could not save the settings to " + Path() + ": File too large\n");
  EXPECT_EQ(testing::ReadPrefs(), Text(DefaultSettings(1000)));
  EXPECT_EQ(Names(), QStringList{"LumoxPrefs"});

  fs::remove(Path());
  fs::create_directory(Path());  // a folder where the file should be
  EXPECT_EQ(StderrOf([] { EXPECT_FALSE(SavePrefsFile(DefaultSettings(1440))); }),
            "lumox: could not save the settings to " + Path() + ": Is a directory\n");
  EXPECT_TRUE(fs::is_directory(Path()) && fs::is_empty(Path()));
  EXPECT_EQ(Names(), QStringList{"LumoxPrefs"});
}

}  // namespace
}  // namespace lumox
