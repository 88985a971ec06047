// A folder of a test's own, gone with the test.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "PortTools.h"

namespace qrt::test {

/// Runs a program and returns whether it ended with status 0. Its output is dropped.
inline bool run(std::vector<std::string> arguments) {
  const auto child = fork();
  if (child == 0) {
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int stream : {0, 1, 2}) dup2(nowhere, stream);
    std::vector<char*> pointers;
    for (auto& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    execvp(pointers[0], pointers.data());
    _exit(127);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

inline bool exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

/// What a shell command prints.
inline std::string printed(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");
  for (int c; (c = fgetc(pipe)) != EOF;) text.push_back(static_cast<char>(c));
  pclose(pipe);
  return text;
}

/// Of the object itself, also when it is a link.
inline struct stat statusOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

/// Makes trees below a new folder; names are relative to it. The destructor clears flags that were
/// set through it and removes the folder.
class ScratchFolder {
 public:
  /// `where` is on a memory file system by default where there is one.
  explicit ScratchFolder(const std::string& where = defaultPlace()) {
    path_ = where + "/qrt-test-XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) ADD_FAILURE() << "no folder below " << where;
    chmod(path_.c_str(), 0755);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    if (isFlagged_) make("unflag .");
    run({"rm", "-rf", path_});
  }

  const std::string& path() const { return path_; }
  std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

  /// Makes what a shell script makes in the folder; the script may use `shellWords`.
  void make(const std::string& script) const { EXPECT_TRUE(tryToMake(script)) << script; }
  bool tryToMake(const std::string& script) const {
    return run({"sh", "-ec", shellWords + ("cd " + path_ + "; " + script)});
  }
  /// What such a script prints.
  std::string printedBy(const std::string& script) const {
    return printed(shellWords + ("cd " + path_ + "; " + script));
  }
  std::string folder(std::string_view name) const {
    EXPECT_EQ(mkdir(path(name).c_str(), 0755), 0) << name;
    return path(name);
  }
  std::string file(std::string_view name, std::string_view contents = {}) const {
    const int file = open(path(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    EXPECT_EQ(write(file, contents.data(), contents.size()), static_cast<ssize_t>(contents.size()))
        << name;
    close(file);
    return path(name);
  }
  std::string link(std::string_view name, const std::string& target) const {
    EXPECT_EQ(symlink(target.c_str(), path(name).c_str()), 0) << name;
    return path(name);
  }

  /// With the system's tool: `change` is "+" or "-" and "i" for immutable or "a" for append-only.
  /// False where flags are not supported.
  bool changeFlags(std::string_view name, const std::string& change) {
    isFlagged_ = true;
    const auto file = " '" + std::string(name) + "'";
    return tryToMake(change[0] == '-' ? "unflag" + file : "flag " + change.substr(1) + file);
  }

  /// Sets both times of an object, of a link itself, to so many hours before now.
  void age(std::string_view name, int hours) const {
    const timespec time{::time(nullptr) - hours * 3600L, 0};
    const timespec times[] = {time, time};
    EXPECT_EQ(utimensat(AT_FDCWD, path(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << name;
  }

 private:
  static std::string defaultPlace() { return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp"; }

  std::string path_;
  bool isFlagged_ = false;
};

}  // namespace qrt::test
