#include "platform/posix/ChildProcess.h"

#include <fcntl.h>
#include <os/activity.h>
#include <spawn.h>
#include <unistd.h>

#include <initializer_list>

namespace qrt {

bool openPipe(int (&ends)[2]) {
  if (pipe(ends) != 0) return false;
  // A child that another thread starts before this has no use for them: see `replaceImage`.
  for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
  return true;
}

int replaceImage(const char* path, char* const arguments[], char* const environment[]) {
  // The system's frameworks open descriptors without the close-on-exec mark. The few bytes that are
  // allocated here are safe: the allocator is put in order by fork itself.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETEXEC | POSIX_SPAWN_CLOEXEC_DEFAULT);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addinherit_np(&actions, stream);
  }
  return posix_spawn(nullptr, path, &actions, &attributes, arguments, environment);
}

namespace {

class RunningProgram final : public ProgramActivity {
 public:
  RunningProgram()
      : activity_(os_activity_create("Running external program.", OS_ACTIVITY_CURRENT,
                                     OS_ACTIVITY_FLAG_DEFAULT)) {
    os_activity_scope_enter(activity_, &scope_);
  }
  ~RunningProgram() override {
    os_activity_scope_leave(&scope_);
    os_release(activity_);
  }

 private:
  const os_activity_t activity_;
  os_activity_scope_state_s scope_{};
};

}  // namespace

std::unique_ptr<ProgramActivity> beginProgramActivity() {
  return std::make_unique<RunningProgram>();
}

}  // namespace qrt
