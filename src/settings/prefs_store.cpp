#include "settings/prefs_store.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <QFile>

#include "settings/data_folder.h"
#include "settings/prefs_format.h"

namespace lumox {

namespace {

constexpr char kFileName[] = "LumoxPrefs";

std::string PasswdHome() {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return "";
  return found->pw_dir != nullptr ? found->pw_dir : "";
}

std::string Folder() {
  const std::string passwd_home = PasswdHome();
  return DataFolder(getenv("XDG_DATA_HOME"), getenv("HOME"), passwd_home.c_str());
}

std::string Join(const std::string& folder, std::string_view name) {
  return folder + (folder.ends_with('/') ? "" : "/") + std::string(name);
}

std::string Parent(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

std::string FilePath() {
  const std::string folder = Folder();
  return folder.empty() ? "" : Join(folder, kFileName);
}

// Follows a chain of links to the path it ends at, which need not exist yet: the save replaces
// the file a link points to and leaves the link alone (dotfile managers keep settings as links).
bool FollowLinks(std::string& path) {
  for (int hops = 0; hops < 40; ++hops) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0) return errno == ENOENT;  // nothing there yet: made at this name
    if (!S_ISLNK(st.st_mode)) return true;
    std::string target(PATH_MAX, '\0');
    const ssize_t n = readlink(path.c_str(), target.data(), target.size());
    if (n < 0) return false;
    if (static_cast<size_t>(n) == target.size()) {
      errno = ENAMETOOLONG;
      return false;
    }
    target.resize(static_cast<size_t>(n));
    path = target.starts_with('/') ? target : Join(Parent(path), target);
  }
  errno = ELOOP;
  return false;
}

// The new text goes to the file's name, a dot and six letters or digits, as mkstemp names it.
constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr size_t kTempLetters = 6;

bool IsTempName(std::string_view name, std::string_view file) {
  if (name.size() != file.size() + 1 + kTempLetters || !name.starts_with(file) || name[file.size()] != '.') return false;
  return name.substr(file.size() + 1).find_first_not_of(kLetters) == std::string_view::npos;
}

// A save holds its temporary file locked until the file is renamed into place; an unlocked one
// was left by a save that was cut off (the process killed, the power gone) and goes now. A save
// of another running instance keeps its lock, so its file stays.
void RemoveLeftovers(const std::string& folder, std::string_view file) {
  DIR* dir = opendir(folder.c_str());
  if (dir == nullptr) return;
  while (const dirent* entry = readdir(dir)) {
    if (!IsTempName(entry->d_name, file)) continue;
    const std::string path = Join(folder, entry->d_name);
    const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) continue;
    // With the lock held, the name must still be this file: its save may have renamed it into
    // place and let go of it since the open.
    struct stat opened, named;
    if (fstat(fd, &opened) == 0 && S_ISREG(opened.st_mode) && flock(fd, LOCK_EX | LOCK_NB) == 0 &&
        lstat(path.c_str(), &named) == 0 && named.st_dev == opened.st_dev && named.st_ino == opened.st_ino)
      unlink(path.c_str());
    close(fd);
  }
  closedir(dir);
}

// A new file beside `target`, locked; its name in `temp`.
int CreateTemp(const std::string& target, std::string& temp) {
  std::random_device random;
  for (int tries = 0; tries < 100; ++tries) {
    temp = target + '.';
    for (size_t i = 0; i < kTempLetters; ++i) temp += kLetters[random() % (sizeof kLetters - 1)];
    // 0666: the umask (or the folder's default ACL) decides a new file's mode, as for any file.
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno == EEXIST) continue;
    if (fd < 0) return -1;
    // Another save may take the new file for a leftover in the instant before the lock; then
    // the file has no name any more. Where locks don't work the save goes on without one.
    struct stat st;
    if (flock(fd, LOCK_EX) != 0 || (fstat(fd, &st) == 0 && st.st_nlink > 0)) return fd;
    close(fd);
  }
  errno = EEXIST;
  return -1;
}

bool WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t n = write(fd, text.data(), text.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      if (n == 0) errno = EIO;
      return false;
    }
    text.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

// Puts `text` in place of the file `target` (no link), whole or not at all; errno tells a failure.
bool Replace(const std::string& target, std::string_view text) {
  struct stat old;
  const bool had_old = stat(target.c_str(), &old) == 0;
  std::string temp;
  const int fd = CreateTemp(target, temp);
  if (fd < 0) return false;
  const std::string folder = Parent(target);
  RemoveLeftovers(folder, std::string_view(target).substr(target.rfind('/') + 1));
  bool ok = WriteAll(fd, text);
  // The file keeps its mode; a new one has what it was given at its creation.
  ok = ok && (!had_old || fchmod(fd, old.st_mode & 07777) == 0);
  ok = ok && fsync(fd) == 0;
  ok = ok && rename(temp.c_str(), target.c_str()) == 0;
  const int error = errno;
  if (!ok) unlink(temp.c_str());
  close(fd);  // lets go of the lock only now, with the file in place
  if (ok) {
    // The rename itself lasts only once the folder is on disk too.
    const int dir = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
      fsync(dir);
      close(dir);
    }
  }
  errno = error;
  return ok;
}

}  // namespace

QString ApplicationDataFolder() { return QFile::decodeName(QByteArray::fromStdString(Folder())); }

QString PrefsFilePath() { return QFile::decodeName(QByteArray::fromStdString(FilePath())); }

PrefsFileState LoadPrefsFile(Settings& settings) {
  const std::string path = FilePath();
  struct stat st;
  if (path.empty()) return PrefsFileState::Absent;
  if (stat(path.c_str(), &st) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? PrefsFileState::Absent : PrefsFileState::Unreadable;
  }
  // Only a regular file is opened: a FIFO would wait for a writer for ever, a device might do anything.
  if (!S_ISREG(st.st_mode)) return PrefsFileState::Unreadable;
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return PrefsFileState::Unreadable;
  // The name may have been given to something else since the look.
  bool ok = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  LineSplitter lines(kSettingsLines);
  char buffer[65536];
  while (ok) {
    const ssize_t n = read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    ok = n >= 0;
    if (n <= 0 || lines.Feed(std::string_view(buffer, static_cast<size_t>(n)))) break;
  }
  close(fd);
  if (!ok) return PrefsFileState::Unreadable;
  settings = ReadSettings(lines.Finish());
  return PrefsFileState::Read;
}

bool SavePrefsFile(const Settings& settings) {
  const std::string folder = Folder();
  if (folder.empty()) {
    std::fprintf(stderr, "lumox: could not save the settings: no home folder to keep them in\n");
    return false;
  }
  std::error_code ignored;  // a folder that can't be made shows in the save's own failure
  std::filesystem::create_directories(folder, ignored);
  std::string path = Join(folder, kFileName);
  const bool ok = FollowLinks(path) && Replace(path, JoinLines(WriteSettings(settings)));
  if (!ok) std::fprintf(stderr, "lumox: could not save the settings to %s: %s\n", path.c_str(), std::strerror(errno));
  return ok;
}

}  // namespace lumox
