#include "platform/linux/authority/LinuxAuthority.h"

#include <unistd.h>

#include <string_view>

#include "base/Printable.h"

namespace qrt {
namespace {

/// The text of an item, whose length counts the terminating NUL; empty without such an item.
std::string textIn(const AuthorizationEnvironment& environment, std::string_view name) {
  for (std::uint32_t i = 0; i < environment.count; ++i) {
    const auto& item = environment.items[i];
    if (name == item.name && item.valueLength > 0) {
      return {static_cast<const char*>(item.value), item.valueLength - 1};
    }
  }
  return {};
}

/// The sentence, and on a line of their own the words of the client, which can neither add a line
/// nor be so long that they hide it. Empty without such words: polkit has the sentence.
std::string messageFor(const std::string& sentence, const AuthorizationEnvironment& environment) {
  constexpr std::size_t mostBytes = 512;
  const auto words = textIn(environment, "prompt");
  return words.empty() ? words : sentence + "\n" + printable(words, mostBytes);
}

AuthorizationStatus statusOf(bool succeeded) {
  return succeeded ? AuthorizationStatus::noError : AuthorizationStatus::internal;
}

}  // namespace

class LinuxAuthority::Reference : public Authorization {
 public:
  Reference(LinuxAuthority& authority, const PeerIdentity& itsProcess, int itsConnection,
            Log* itsLog)
      : process(itsProcess), connection(itsConnection), log(itsLog), authority_(authority) {}

  const PeerIdentity process;
  /// The connection of the request and the log for lines about it: -1 and null for this process's
  /// own reference, which is root's and needs no decision.
  const int connection;
  Log* const log;

  AuthorizationStatus copyRight(const RequestedRight& right,
                                const AuthorizationEnvironment& environment,
                                std::uint32_t flags) override {
    return authority_.evaluate(*this, right, environment, flags);
  }

  void free(std::uint32_t flags) override {
    if ((flags & authorization_flag::destroyRights) != 0) authority_.grants_.forget(process);
  }

 private:
  LinuxAuthority& authority_;
};

LinuxAuthority::LinuxAuthority(const std::string& root, std::string stateFolder)
    : state_(std::move(stateFolder)),
      seal_(state_, root + "/proc/sys/kernel/random/boot_id"),
      rights_(state_),
      actions_(root),
      polkit_(root) {}

std::optional<AuthorizationExternalForm> LinuxAuthority::externalForm(const PeerIdentity& peer) {
  return seal_.seal(peer);
}

Result<std::unique_ptr<Authorization>, AuthorizationStatus> LinuxAuthority::createFromExternalForm(
    const Caller& caller, const AuthorizationExternalForm& form, Log& log) {
  const auto process = seal_.open(form);
  if (!process || !living_.contains(*process)) return AuthorizationStatus::internalizeNotAllowed;
  return std::unique_ptr<Authorization>(
      std::make_unique<Reference>(*this, *process, caller.connection, &log));
}

Result<std::unique_ptr<Authorization>, AuthorizationStatus> LinuxAuthority::create() {
  const auto process = static_cast<std::int32_t>(getpid());
  const auto startTime = startTimeOfProcess(process);
  if (!startTime) return AuthorizationStatus::internal;
  const PeerIdentity self{getuid(), process, *startTime};
  return std::unique_ptr<Authorization>(std::make_unique<Reference>(*this, self, -1, nullptr));
}

AuthorizationStatus LinuxAuthority::evaluate(const Reference& reference,
                                             const RequestedRight& right,
                                             const AuthorizationEnvironment& environment,
                                             std::uint32_t flags) {
  const auto& rightName = right.name;
  const auto& process = reference.process;
  if (process.userID == 0 || grants_.contains(process, rightName)) {
    return AuthorizationStatus::noError;
  }
  const auto handle = openProcess(process);
  if (!handle) return AuthorizationStatus::canceled;
  const Asker asker{process, *handle, reference.connection};
  PolkitQuestion question{asker, rightName, messageFor(right.sentence, environment),
                          textIn(environment, "icon"), false};
  auto answer = polkit_.check(question, *reference.log);
  std::unique_ptr<DialogQueue::Turn> turn;
  if (answer == AuthorizationStatus::interactionNotAllowed &&
      (flags & authorization_flag::interactionAllowed) != 0) {
    auto come = dialogs_.wait(asker);
    if (!come) return come.error();
    turn = std::move(*come);
    // The dialog before may have been about the same right.
    if (grants_.contains(process, rightName)) return AuthorizationStatus::noError;
    question.mayInteract = true;
    answer = polkit_.check(question, *reference.log);
  }
  const auto status = answer ? *answer : evaluateWithoutPolkit(rightName);
  // A grant is for this process only, which may have ended while the person typed.
  if (!isRunning(*handle)) return AuthorizationStatus::canceled;
  if (status == AuthorizationStatus::noError && isGrantRemembered(rightName)) {
    grants_.add(process, rightName);
  }
  return status;
}

/// An administrator's definition comes before the package's.
std::optional<PropertyValue> LinuxAuthority::definition(const std::string& rightName) {
  auto own = rights_.definition(rightName);
  return own ? own : actions_.packagedDefinition(rightName);
}

AuthorizationStatus LinuxAuthority::evaluateWithoutPolkit(const std::string& rightName) {
  const auto definition = this->definition(rightName);
  const auto* rule = definition ? definition->string() : nullptr;
  const bool isForAll = rule && *rule == "allow";
  return isForAll ? AuthorizationStatus::noError : AuthorizationStatus::denied;
}

/// Only grants by the default rule are, which also holds for a right without a definition. Rights
/// for all users need no memory; all others ask for an administrator's password each time.
bool LinuxAuthority::isGrantRemembered(const std::string& rightName) {
  const auto definition = this->definition(rightName);
  if (!definition) return true;
  const auto* dictionary = definition->dictionary();
  const auto* rule = dictionary ? stringIn(*dictionary, "rule") : nullptr;
  return rule && *rule == "default";
}

AuthorizationStatus LinuxAuthority::rightGet(const std::string& name) {
  const bool isOwn = rights_.definition(name).has_value() && actions_.contains(name);
  const bool isThere = isOwn || actions_.packagedDefinition(name).has_value();
  return isThere ? AuthorizationStatus::noError : AuthorizationStatus::denied;
}

AuthorizationStatus LinuxAuthority::rightSet(Authorization&, const std::string& name,
                                             const PropertyValue& definition,
                                             const std::string& description,
                                             const std::string& localizationTable) {
  if (geteuid() != 0) return AuthorizationStatus::denied;
  const bool isKept =
      rights_.definition(name) || rights_.set(name, definition, description, localizationTable);
  const bool isDeclared =
      actions_.contains(name) || actions_.set(name, definition, description) == PosixCode::success;
  return statusOf(isKept && isDeclared);
}

AuthorizationStatus LinuxAuthority::rightRemove(Authorization&, const std::string& name) {
  if (geteuid() != 0) return AuthorizationStatus::denied;
  const bool isForgotten = !rights_.definition(name) || rights_.remove(name);
  const bool isWithdrawn = !actions_.contains(name) || actions_.remove(name) == PosixCode::success;
  return statusOf(isForgotten && isWithdrawn);
}

}  // namespace qrt
