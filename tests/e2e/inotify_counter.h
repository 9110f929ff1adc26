#pragma once
// Counts how many times a file in a folder is put in place whole: linked in new or renamed over.
#include <sys/inotify.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace lumox::e2e {

class ReplaceCounter {
 public:
  ReplaceCounter(const std::string& folder, std::string name) : name_(std::move(name)) {
    fd_ = inotify_init1(IN_NONBLOCK);
    inotify_add_watch(fd_, folder.c_str(), IN_MOVED_TO | IN_CREATE);
  }
  ~ReplaceCounter() { close(fd_); }
  int Count() {
    alignas(inotify_event) char buffer[16384];
    ssize_t n;
    while ((n = read(fd_, buffer, sizeof buffer)) > 0) {
      for (char* p = buffer; p < buffer + n;) {
        auto* event = reinterpret_cast<inotify_event*>(p);
        if (event->len && name_ == event->name) ++count_;
        p += sizeof(inotify_event) + event->len;
      }
    }
    return count_;
  }

 private:
  int fd_;
  std::string name_;
  int count_ = 0;
};

}  // namespace lumox::e2e
