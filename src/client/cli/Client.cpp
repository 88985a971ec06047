#include "client/cli/Client.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
#include <variant>

#include "base/Printable.h"
#include "client/cli/Examination.h"
#include "client/cli/RightsChange.h"
#include "client/cli/commandline/CommandLine.h"
#include "client/cli/commandline/OperationView.h"
#include "client/cli/generated/GeneratedText.h"
#include "client/cli/output/Presenter.h"
#include "client/cli/output/StartNotice.h"
#include "client/cli/output/SystemMessages.h"
#include "operations/NSProcessInfoQRTAdditions.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "operations/StringTables.h"
#include "platform/Authority.h"
#include "platform/CallerProcess.h"
#include "platform/Platform.h"
#include "platform/ServiceDescription.h"
#include "platform/Terminal.h"

namespace qrt {
namespace {

constexpr const char* nothingWasDone = "Nothing was done.";

bool needsDialog(const Error& error) {
  return error.domain == osStatusErrorDomain &&
         error.code == number(AuthorizationStatus::interactionNotAllowed);
}

bool isRefusal(const Error& error) {
  return needsDialog(error) || isPosixError(error, PosixCode::notPermitted) ||
         isPosixError(error, PosixCode::canceled);
}

class Client {
 public:
  Client(const ClientSurroundings& surroundings, const QRTPrivilegedOperationSet& operations)
      : surroundings_(surroundings), operations_(operations) {}

  ExitStatus run(const std::vector<std::string>& words) {
    // Looked for here as well, because a wrong command line is never read to its end.
    isJson_ = std::find(words.begin(), words.end(), "--json") != words.end();
    auto parsed = parseCommandLine(words, operations_);
    if (const auto* help = std::get_if<HelpText>(&parsed)) {
      return status(surroundings_.terminal.write(StandardStream::output, help->text));
    }
    if (const auto* error = std::get_if<UsageError>(&parsed)) return refuse(*error);
    return execute(std::get<Command>(std::move(parsed)));
  }

 private:
  ExitStatus execute(Command command) {
    command_ = std::move(command);
    isJson_ = command_.options.isJson;
    presenter_ = isJson_ ? makeJsonPresenter(surroundings_.terminal)
                         : makeTextPresenter(surroundings_.terminal, "qrtctl " + command_.name,
                                             surroundings_.mayColor);
    if (const auto* operation = std::get_if<OperationCommand>(&command_.what)) {
      return performOperation(*operation);
    }
    const auto& own = std::get<OwnCommandUse>(command_.what);
    switch (own.command) {
      case OwnCommand::version:
        return showVersion();
      case OwnCommand::operations:
        return listOperations();
      case OwnCommand::explain:
        return explain(own.word);
      case OwnCommand::doctor:
        return examineAll();
      case OwnCommand::generate:
        return generate(own.word);
      case OwnCommand::installRights:
        return change(RightsChange::install);
      case OwnCommand::removeRights:
        return change(RightsChange::remove);
    }
    return ExitStatus::usage;
  }

  ExitStatus performOperation(const OperationCommand& command) {
    auto words = allWords(command);
    if (!words) return refuse(words.error());
    auto arguments = readArguments(command.operation->arguments, *words,
                                   {surroundings_.caller, surroundings_.platform});
    if (!arguments) return refuse(arguments.error());
    auto iconPath = absolutePath(command_.options.iconPath, surroundings_.caller);
    if (!iconPath) return refuse(iconPath.error());
    if (!isWanted(command.operation->question)) {
      presenter_->showFailure(describedError(PosixCode::canceled, nothingWasDone));
      return ExitStatus::failed;
    }

    auto requestor = connect();
    if (!requestor) return fail(requestor.error());
    const auto interruption =
        surroundings_.caller.catchInterruptions([&] { interrupt(**requestor); });
    bool isRead = true;
    const auto handler = [&](const Dictionary& message) {
      if (!isRead) return;
      agent_ = nullptr;  // What sends feedback was authorized.
      isRead = presenter_->showFeedback(message);
      // Nobody waits for the result any more either.
      if (!isRead) (*requestor)->interrupt();
    };
    const AuthorizationPresentation presentation{command_.options.prompt, std::move(*iconPath)};
    const auto& identifier = command.operation->identifier;
    const auto outcome = askingForPasswords([&] {
      return (*requestor)
          ->perform(identifier, *arguments, presentation,
                    givesFeedback(identifier) ? handler : FeedbackHandler());
    });
    if (!isRead && !wasInterrupted_) return ExitStatus::failed;
    return conclude(outcome, **requestor);
  }

  /// Those of the command line, and those on standard input.
  static UsageResult<GivenWords> allWords(const OperationCommand& command) {
    auto words = command.words;
    if (!command.readsPaths) return words;
    auto further = wordsOnStandardInput();
    if (!further) return further.error();
    const auto& descriptions = command.operation->arguments;
    const auto list = std::find_if(descriptions.begin(), descriptions.end(), isPathList);
    auto& paths = words[static_cast<std::size_t>(list - descriptions.begin())];
    std::move(further->begin(), further->end(), std::back_inserter(paths));
    return words;
  }

  /// Asks a person who can be asked.
  bool isWanted(std::string_view question) {
    if (question.empty() || command_.options.isSure || !surroundings_.terminal.canAsk())
      return true;
    surroundings_.terminal.write(StandardStream::error, fmt::format("{} [y/N] ", question));
    const auto answer = surroundings_.terminal.readLine();
    return answer && (*answer == "y" || *answer == "Y" || *answer == "yes");
  }

  /// An operation that needs a dialog, and nobody there to show it, was not begun: once there is an
  /// agent for this terminal it is asked for again.
  template <class Attempt>
  Outcome askingForPasswords(const Attempt& attempt) {
    auto outcome = attempt();
    if (!outcome || !needsDialog(*outcome)) return outcome;
    const auto agent = surroundings_.caller.startTextAgent();
    if (!agent) return outcome;
    agent_ = agent.get();
    outcome = attempt();
    agent_ = nullptr;
    return outcome;
  }

  /// In a signal handler. While somebody is asked for a password, only the question is given up:
  /// the daemon's answer to that is better than not to know what it does.
  void interrupt(PrivilegeRequestor& requestor) {
    wasInterrupted_ = true;
    if (auto* const agent = agent_.exchange(nullptr)) {
      agent->dismiss();
    } else {
      requestor.interrupt();
      surroundings_.terminal.stopWaiting();
    }
  }

  ExitStatus conclude(const Outcome& outcome, const PrivilegeRequestor& requestor) {
    if (!outcome) return status(presenter_->showAnswer({}));
    if (outcome->code == 0) return status(presenter_->showAnswer(outcome->userInfo));
    if (requestor.wasInterrupted() && isPosixError(*outcome, PosixCode::interrupted)) {
      return tellInterruption(requestor.isOperationLeftBehind()
                                  ? "The operation goes on in the privileged helper."
                                  : nothingWasDone);
    }
    if (wasInterrupted_ && isRefusal(*outcome)) return tellInterruption(nothingWasDone);
    return fail(*outcome);
  }

  ExitStatus tellInterruption(std::string_view consequence) {
    fail(describedError(PosixCode::interrupted, "Interrupted.", consequence));
    return ExitStatus::interrupted;
  }

  ExitStatus showVersion() {
    auto requestor = connect();
    if (!requestor) return fail(requestor.error());
    const auto version = (*requestor)->version();
    if (!version) return fail(version.error());
    return status(presenter_->showAnswer({{"version", *version}}));
  }

  ExitStatus listOperations() {
    const auto views = operationViews(operations_);
    if (!isJson_) return write(listOf(views));
    Array records;
    for (const auto& view : views) records.push_back(recordOf(view, systemFeatures()));
    return status(presenter_->showAnswer({{"operations", std::move(records)}}));
  }

  ExitStatus explain(const std::string& identifier) {
    const auto views = operationViews(operations_);
    const auto found = std::find_if(views.begin(), views.end(), [&](const OperationView& view) {
      return view.form.identifier == identifier;
    });
    if (found == views.end())
      return refuse({fmt::format("There is no operation '{}'", identifier)});
    if (isJson_) return status(presenter_->showAnswer(recordOf(*found, systemFeatures())));
    return write(explanationOf(*found, systemFeatures()));
  }

  ExitStatus examineAll() {
    bool isReached = false;
    auto findings = examineHelper(isReached);
    for (auto& finding : examine(authorityInUse(), systemFeatures())) {
      findings.push_back(std::move(finding));
    }
    const bool isColored =
        surroundings_.mayColor && surroundings_.terminal.isTerminal(StandardStream::output);
    const auto told = isJson_ ? status(presenter_->showAnswer({{"findings", recordsOf(findings)}}))
                              : write(textOf(findings, isColored));
    if (!isReached) return ExitStatus::unreachable;
    return hasProblem(findings) ? ExitStatus::failed : told;
  }

  /// The helper's address and what answers there.
  std::vector<Finding> examineHelper(bool& isReached) {
    using State = Finding::State;
    const std::string address(serviceDescription().address);
    auto requestor = connect();
    if (!requestor) {
      return {{address, State::problem, descriptionForPerson(requestor.error())}};
    }
    const auto version = (*requestor)->version();
    isReached = static_cast<bool>(version);
    if (!isReached) return {{address, State::problem, descriptionForPerson(version.error())}};
    return {{address, State::good, command_.options.address}, {"version", State::good, *version}};
  }

  ExitStatus generate(const std::string& name) {
    const auto text = generatedText(name, operationViews(operations_));
    return text ? write(*text) : refuse({fmt::format("There is no text '{}'", name)});
  }

  ExitStatus write(const std::string& text) {
    return status(surroundings_.terminal.write(StandardStream::output, text));
  }

  ExitStatus change(RightsChange rights) {
    const auto installed = changeRights(rights, operations_, surroundings_.platform);
    if (!installed) return fail(installed.error());
    return status(presenter_->showAnswer({{"installed", *installed}}));
  }

  /// The system may let seconds pass before it starts a helper again that has just ended.
  Result<std::unique_ptr<PrivilegeRequestor>> connect() {
    const StartNotice notice(surroundings_.silence, [this] {
      constexpr std::string_view text = "qrtctl: waiting for the helper to start\n";
      if (!isJson_) surroundings_.terminal.write(StandardStream::error, text);
    });
    return PrivilegeRequestor::connect(surroundings_.platform, command_.options.address,
                                       surroundings_.caller.processIdentifier(), operations_,
                                       surroundings_.patience);
  }

  bool givesFeedback(std::string_view identifier) const {
    const auto& operation = operations_.implementedOperations().find(identifier)->second;
    return operation.isSupportingProgressFeedback() || operation.isSupportingLiveOutput();
  }

  ExitStatus fail(const Error& error) {
    StringTables tables(surroundings_.bundlePath, surroundings_.language,
                        surroundings_.platform.files, surroundings_.platform.propertyLists);
    const Localization localization{
        tables, NSProcessInfoQRTAdditions::shouldUIUsePoliteForms(surroundings_.platform)};
    presenter_->showFailure(
        *QRTPrivilegedOperationSet::localizedErrorForPrivilegedOperationError(error, localization));
    return exitStatusFor(error);
  }

  ExitStatus refuse(const UsageError& error) {
    if (isJson_) {
      makeJsonPresenter(surroundings_.terminal)
          ->showFailure(describedError(PosixCode::invalidArgument, error.text));
    } else {
      const auto text = fmt::format("qrtctl: {}\nTry \"qrtctl --help\".\n", printable(error.text));
      surroundings_.terminal.write(StandardStream::error, text);
    }
    return ExitStatus::usage;
  }

  ExitStatus status(bool isRead) const {
    if (isRead) return ExitStatus::done;
    return wasInterrupted_ ? ExitStatus::interrupted : ExitStatus::failed;
  }

  const ClientSurroundings& surroundings_;
  const QRTPrivilegedOperationSet& operations_;
  bool isJson_ = false;
  std::atomic<bool> wasInterrupted_ = false;
  /// Asks for passwords at the moment; null when nobody does.
  std::atomic<CallerProcess::TextAgent*> agent_ = nullptr;
  static_assert(decltype(agent_)::is_always_lock_free);
  Command command_;
  std::unique_ptr<Presenter> presenter_;
};

}  // namespace

ExitStatus runClient(const std::vector<std::string>& words,
                     const ClientSurroundings& surroundings) {
  const QRTPrivilegedOperationSetVK2 operations(surroundings.platform.log,
                                                surroundings.platform.authority);
  return Client(surroundings, operations).run(words);
}

}  // namespace qrt
