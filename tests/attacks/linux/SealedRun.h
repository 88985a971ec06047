// A /run of the program's own, with a journal and an authority that count.
#pragma once

#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "platform/FileDescriptor.h"
#include "platform/linux/SdBus.h"

namespace qrt::test {

/// In a mount namespace that this makes for the whole program.
inline void sealRun() {
  if (unshare(CLONE_NEWNS) != 0 ||
      mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("run", "/run", "tmpfs", 0, "mode=755") != 0) {
    std::perror("/run");
    _exit(2);
  }
  for (const auto* folder : {"/run/systemd", "/run/systemd/journal", "/run/dbus"})
    mkdir(folder, 0755);
}

inline FileDescriptor boundSocket(int type, const char* path) {
  FileDescriptor socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un name{AF_UNIX, {}};
  std::string(path).copy(name.sun_path, sizeof name.sun_path - 1);
  if (bind(socket.get(), reinterpret_cast<sockaddr*>(&name), sizeof name) != 0) std::perror(path);
  return socket;
}

/// Counts the lines of each user. Its own thread reads them.
class Journal {
 public:
  ~Journal() {
    isOver_ = true;
    thread_.join();
  }

  /// Of the user other than root that has most.
  long mostLines() const {
    const std::lock_guard lock(mutex_);
    long most = 0;
    for (const auto& [user, count] : lines_) most = std::max(most, user == "0" ? 0 : count);
    return most;
  }
  long linesWith(const std::string& text) const { return at(texts_, text); }
  long dropped(const std::string& user) const { return at(dropped_, user); }
  /// The fields of the latest line with that text, each with a line feed before and after it.
  std::string latestWith(const std::string& text) const { return at(latest_, text); }

 private:
  void read() {
    std::string fields(1 << 16, '\0');
    for (pollfd waiting{socket_.get(), POLLIN, 0}; !isOver_;) {
      if (poll(&waiting, 1, 50) != 1) continue;
      const auto size = recv(socket_.get(), fields.data() + 1, fields.size() - 1, 0);
      if (size > 0) note("\n" + fields.substr(1, static_cast<std::size_t>(size)));
    }
  }
  static std::string field(const std::string& fields, const std::string& name) {
    const auto at = fields.find("\n" + name + "=");
    if (at == std::string::npos) return "";
    const auto begin = at + name.size() + 2;
    return fields.substr(begin, fields.find('\n', begin) - begin);
  }
  void note(const std::string& fields) {
    const auto text = field(fields, "MESSAGE");
    const std::lock_guard lock(mutex_);
    ++lines_[field(fields, "QRT_CLIENT_UID")];
    ++texts_[text];
    latest_[text] = fields;
    unsigned long long count;
    unsigned user;
    if (std::sscanf(text.c_str(), "%llu lines about requests of user %u were dropped.", &count,
                    &user) == 2) {
      dropped_[std::to_string(user)] += static_cast<long>(count);
    }
  }
  template <class Value>
  Value at(const std::map<std::string, Value>& map, const std::string& key) const {
    const std::lock_guard lock(mutex_);
    const auto found = map.find(key);
    return found == map.end() ? Value() : found->second;
  }

  const FileDescriptor socket_ = boundSocket(SOCK_DGRAM, "/run/systemd/journal/socket");
  mutable std::mutex mutex_;
  std::map<std::string, long> lines_, texts_, dropped_;
  std::map<std::string, std::string> latest_;
  std::atomic<bool> isOver_ = false;
  std::thread thread_{[this] { read(); }};
};

/// Answers at the place of the system's bus, as polkit does: yes for nop, and for all else a
/// dialog. The person dismisses each dialog of one user after a short look and never answers the
/// others.
class Person {
 public:
  explicit Person(uid_t hastyUser) : hastyUser_(hastyUser) {}
  ~Person() {
    isOver_ = true;
    thread_.join();
  }
  long mostOfProcess() const { return mostOfProcess_; }
  long mostOfUser() const { return mostOfUser_; }

 private:
  using Clock = std::chrono::steady_clock;
  struct Dialog {
    BusMessage question;
    std::uint32_t process;
    std::int32_t user;
    Clock::time_point end;
  };

  void serve() {
    listen(socket_.get(), SOMAXCONN);
    while (!isOver_) {
      std::vector<pollfd> waiting{{socket_.get(), POLLIN, 0}};
      for (const auto& bus : buses_) {
        const auto events = static_cast<short>(sd_bus_get_events(bus.get()));
        waiting.push_back({sd_bus_get_fd(bus.get()), events, 0});
      }
      poll(waiting.data(), waiting.size(), 10);
      if (waiting[0].revents != 0) accept();
      buses_.remove_if([this](const Bus& bus) {
        int progress = 1;
        while (progress > 0) progress = sd_bus_process(bus.get(), nullptr);
        if (progress == 0 && sd_bus_is_open(bus.get()) > 0) return false;
        close(bus.get());
        return true;
      });
      dialogs_.remove_if([](const Dialog& dialog) {
        if (Clock::now() < dialog.end) return false;
        sd_bus_reply_method_return(dialog.question.get(), "(bba{ss})", 0, 0, 1, "polkit.dismissed",
                                   "true");
        return true;
      });
    }
  }
  void accept() {
    const int socket = accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    sd_bus* made = nullptr;
    if (socket < 0 || sd_bus_new(&made) < 0) return;
    buses_.emplace_back(made);
    sd_bus_set_fd(made, socket, socket);
    sd_bus_set_server(made, 1, {});
    sd_bus_negotiate_fds(made, 1);
    sd_bus_add_filter(made, nullptr, answer, this);
    sd_bus_start(made);
  }
  void close(sd_bus* bus) {
    dialogs_.remove_if(
        [&](const Dialog& dialog) { return sd_bus_message_get_bus(dialog.question.get()) == bus; });
  }

  static int answer(sd_bus_message* call, void* context, sd_bus_error*) {
    auto& self = *static_cast<Person*>(context);
    if (sd_bus_message_is_method_call(call, nullptr, "Hello") > 0) {
      return sd_bus_reply_method_return(call, "s", ":1.1");
    }
    if (sd_bus_message_is_method_call(call, nullptr, "CheckAuthorization") > 0) {
      return self.check(call);
    }
    self.close(sd_bus_message_get_bus(call));
    return sd_bus_reply_method_return(call, nullptr);
  }
  int check(sd_bus_message* call) {
    const char *text = nullptr, *key = nullptr, *action = nullptr;
    std::uint32_t process = 0, flags = 0;
    std::uint64_t startTime = 0;
    std::int32_t user = 0;
    int handle = -1;
    sd_bus_message_read(call, "(sa{sv})s", &text, 4, &key, "u", &process, &key, "t", &startTime,
                        &key, "i", &user, &key, "h", &handle, &action);
    sd_bus_message_skip(call, "a{ss}");
    sd_bus_message_read(call, "us", &flags, &text);
    const bool isAllowed = std::string(action ? action : "").ends_with(".nop");
    if (isAllowed || flags == 0) {
      return sd_bus_reply_method_return(call, "(bba{ss})", isAllowed, !isAllowed, 0);
    }
    const auto end = static_cast<uid_t>(user) == hastyUser_
                         ? Clock::now() + std::chrono::milliseconds(50)
                         : Clock::time_point::max();
    dialogs_.push_back({BusMessage(sd_bus_message_ref(call)), process, user, end});
    const auto count = [this](auto matches) {
      return static_cast<long>(std::count_if(dialogs_.begin(), dialogs_.end(), matches));
    };
    mostOfProcess_ = std::max(mostOfProcess_.load(),
                              count([&](const Dialog& each) { return each.process == process; }));
    mostOfUser_ =
        std::max(mostOfUser_.load(), count([&](const Dialog& each) { return each.user == user; }));
    return 1;
  }

  const FileDescriptor socket_ = boundSocket(SOCK_STREAM, "/run/dbus/system_bus_socket");
  const uid_t hastyUser_;
  std::list<Bus> buses_;
  std::list<Dialog> dialogs_;
  std::atomic<long> mostOfProcess_ = 0, mostOfUser_ = 0;
  std::atomic<bool> isOver_ = false;
  std::thread thread_{[this] { serve(); }};
};

}  // namespace qrt::test
