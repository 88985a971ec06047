// Follows all threads of a running process and makes one of their system calls fail, or kills the
// process there.
//
//   fault_at_call PROCESS                        prints each call: its number, its arguments, what
//   the first one names fault_at_call PROCESS NUMBER COUNT ERROR     the COUNTth call NUMBER
//   returns ERROR and is not carried out fault_at_call PROCESS NUMBER COUNT -ERROR    it is carried
//   out, and returns ERROR all the same fault_at_call PROCESS NUMBER COUNT 0         a kill before
//   it; NUMBER -1 is any call
//
// Writes a line when it follows, and ends when its standard input ends. Exits with 0 when it met
// that call. A call in which a thread waits from the start does not count. Of a child only the
// calls before its program starts are followed.
#include <dirent.h>
#include <limits.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include <linux/ptrace.h>

namespace {

constexpr int options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK |
                        PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC;

struct Fault {
  std::int64_t number = -1;
  long count = 0;
  long error = 0;
};

enum class Wait { none, restarted, forResult };

class Follower {
 public:
  Follower(pid_t process, const Fault& fault) : process_(process), fault_(fault) {}

  /// Threads that start meanwhile are followed by their makers, or found in the next pass.
  bool begin() {
    const auto before = threads_.size();
    DIR* const tasks = opendir(("/proc/" + std::to_string(process_) + "/task").c_str());
    if (tasks == nullptr) return false;
    while (const auto* entry = readdir(tasks)) {
      const auto thread = std::atoi(entry->d_name);
      if (thread == 0 || threads_.count(thread) != 0) continue;
      if (trace(PTRACE_SEIZE, thread, options) != 0) continue;
      threads_[thread] = Wait::restarted;
      trace(PTRACE_INTERRUPT, thread, 0);
      int status = 0;
      waitpid(thread, &status, __WALL);
      trace(PTRACE_SYSCALL, thread, 0);
    }
    closedir(tasks);
    return threads_.size() == before ? !threads_.empty() : begin();
  }

  /// Until the process `end` ends. What is still followed runs freely when this program has ended.
  bool follow(pid_t end) {
    for (bool isOver = false; !isOver || isChanging_;) {
      int status = 0;
      const auto thread = waitpid(-1, &status, __WALL);
      if (thread < 0) return isMet_;
      if (thread == end) isOver = true;
      if (!WIFSTOPPED(status)) continue;
      const int stop = WSTOPSIG(status);
      const int event = status >> 16;
      if (event == PTRACE_EVENT_EXEC) {
        trace(PTRACE_DETACH, thread, 0);
      } else if (stop == (SIGTRAP | 0x80)) {
        atCall(thread);
        trace(PTRACE_SYSCALL, thread, 0);
      } else {
        const bool isSignal = event == 0 && stop != SIGTRAP;
        trace(PTRACE_SYSCALL, thread, isSignal ? stop : 0);
      }
    }
    return isMet_;
  }

 private:
  static long trace(int request, pid_t thread, long data) {
    return ptrace(static_cast<__ptrace_request>(request), thread, nullptr, data);
  }

  void atCall(pid_t thread) {
    ptrace_syscall_info call{};
    ptrace(static_cast<__ptrace_request>(PTRACE_GET_SYSCALL_INFO), thread, sizeof call, &call);
    auto& wait = threads_[thread];
    if (call.op == PTRACE_SYSCALL_INFO_EXIT) {
      if (wait == Wait::forResult)
        setRegister(thread, offsetof(user_regs_struct, rax), -std::abs(fault_.error));
      if (wait == Wait::forResult) isChanging_ = false;
      wait = Wait::none;
    } else if (wait == Wait::restarted) {
      wait = Wait::none;
    } else if (fault_.count == 0) {
      print(thread, call);
    } else if (fault_.number < 0 || static_cast<std::int64_t>(call.entry.nr) == fault_.number) {
      if (++count_ == fault_.count) strike(thread, wait);
    }
  }

  void strike(pid_t thread, Wait& wait) {
    isMet_ = true;
    if (fault_.error == 0) {
      kill(process_, SIGKILL);
      return;
    }
    wait = Wait::forResult;
    isChanging_ = true;
    if (fault_.error > 0) setRegister(thread, offsetof(user_regs_struct, orig_rax), -1);
  }

  static void setRegister(pid_t thread, std::size_t place, long value) {
    ptrace(PTRACE_POKEUSER, thread, place, value);
  }

  static void print(pid_t thread, const ptrace_syscall_info& call) {
    const auto link = "/proc/" + std::to_string(thread) + "/fd/" +
                      std::to_string(static_cast<int>(call.entry.args[0]));
    char target[PATH_MAX + 1] = "";
    if (readlink(link.c_str(), target, PATH_MAX) < 0) target[0] = '\0';
    std::printf("%lld\t%lld\t%lld\t%s\n", static_cast<long long>(call.entry.nr),
                static_cast<long long>(call.entry.args[1]),
                static_cast<long long>(call.entry.args[2]), target);
  }

  const pid_t process_;
  const Fault fault_;
  std::map<pid_t, Wait> threads_;
  long count_ = 0;
  bool isMet_ = false;
  bool isChanging_ = false;
};

}  // namespace

int main(int count, char** words) {
  if (count != 2 && count != 5) return 2;
  const auto number = [&](int word) { return std::atol(words[word]); };
  const Fault fault = count == 5 ? Fault{number(2), number(3), number(4)} : Fault{};
  Follower follower(static_cast<pid_t>(number(1)), fault);
  const auto end = fork();
  if (end == 0) {
    char unread = 0;
    while (read(STDIN_FILENO, &unread, 1) > 0) continue;
    _exit(0);
  }
  if (!follower.begin()) return 2;
  std::puts("following");
  std::fflush(stdout);
  return follower.follow(end) ? 0 : 1;
}
