#include "client/cli/Client.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
#include <variant>

#include "base/Printable.h"
#include "client/RequestErrors.h"
#include "client/cli/Batch.h"
#include "client/cli/Doctor.h"
#include "client/cli/RightsChange.h"
#include "client/cli/Session.h"
#include "client/cli/Shell.h"
#include "client/cli/StartNotice.h"
#include "client/cli/StoppedOperation.h"
#include "client/cli/commandline/CallerPaths.h"
#include "client/cli/commandline/CommandLine.h"
#include "client/cli/commandline/CommandRecords.h"
#include "client/cli/commandline/OperationDescription.h"
#include "client/cli/completion/Candidates.h"
#include "client/cli/completion/TypedWords.h"
#include "client/cli/generated/GeneratedText.h"
#include "client/cli/output/FoldedText.h"
#include "client/cli/output/Json.h"
#include "client/cli/output/Presenter.h"
#include "client/cli/output/SystemMessages.h"
#include "client/cli/paths/ActionText.h"
#include "client/cli/paths/DangerousPaths.h"
#include "client/cli/paths/JsonPaths.h"
#include "client/cli/paths/PathRequests.h"
#include "client/cli/paths/PathSummary.h"
#include "client/cli/paths/PathsOnInput.h"
#include "client/cli/plan/Plan.h"
#include "client/cli/plan/PlanOutput.h"
#include "operations/NSProcessInfoQRTAdditions.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "operations/StringTables.h"
#include "platform/Authority.h"
#include "platform/CallerProcess.h"
#include "platform/Platform.h"
#include "platform/SelfProcess.h"
#include "platform/ServiceDescription.h"
#include "platform/ServiceDiagnosis.h"
#include "platform/SystemFeatures.h"
#include "platform/Terminal.h"

namespace qrt {
namespace {

constexpr const char* nothingWasDone = "Nothing was done.";

/// The table of translated actions.
constexpr std::string_view actionTable = "PrivilegedOperationActions";

bool needsDialog(const Error& error) {
  return error.domain == osStatusErrorDomain &&
         error.code == number(AuthorizationStatus::interactionNotAllowed);
}

bool isRefusal(const Error& error) {
  return needsDialog(error) || isPosixError(error, PosixCode::notPermitted) ||
         isPosixError(error, PosixCode::canceled);
}

/// What a command inherits from the batch or shell that it is a part of.
struct CommandOrigin {
  CommandOptions options;
  bool isPart = false;
  /// Before the text of a failure: "line 3: ". Empty where the user sees the line.
  std::string label;
  /// Whether standard input holds the commands.
  bool isInputTaken = false;
};

class Client {
 public:
  Client(const ClientEnvironment& environment, const QRTPrivilegedOperationSet& operations,
         Session& session, CommandOrigin origin = {})
      : environment_(environment),
        operations_(operations),
        session_(session),
        origin_(std::move(origin)),
        descriptions_(describedOperations(operations)) {}

  ExitStatus run(const std::vector<std::string>& words) {
    // The parser stops at an error, maybe before this option. Words after "--" are no options.
    const auto end = std::find(words.begin(), words.end(), "--");
    isJson_ = origin_.options.isJson || std::find(words.begin(), end, "--json") != end;
    auto parsed = CommandLineParser(descriptions_, origin_.options).parse(words);
    if (const auto* help = std::get_if<HelpText>(&parsed)) return showHelp(*help);
    if (std::holds_alternative<VersionRequest>(parsed)) return showOwnVersion();
    if (const auto* error = std::get_if<UsageError>(&parsed)) return refuse(*error);
    auto& command = std::get<Command>(parsed);
    if (origin_.isPart) {
      if (const auto error = problemInBatch(command, origin_.isInputTaken)) return refuse(*error);
    }
    return execute(std::move(command));
  }

 private:
  ExitStatus execute(Command command) {
    options_ = std::move(command.options);
    isJson_ = options_.isJson;
    if (isJson_) std::setlocale(LC_ALL, "C");  // Also for the system's own texts.
    const auto* const use = std::get_if<OperationUse>(&command.use);
    const bool writesPaths = use && use->writesPaths;
    if (writesPaths && isJson_) return refuse({"--print0 and --json exclude each other"});
    presenter_ =
        isJson_ ? makeJsonPresenter(environment_.terminal)
                : makeTextPresenter(environment_.terminal, origin_.label + "qrtctl " + command.name,
                                    TextStyle{environment_.mayColor, progressForm(),
                                              writesPaths ? RecordForm::path : RecordForm::line},
                                    wasStopped_);
    if (use) return performOperation(*use);
    return execute(std::get<BuiltInUse>(command.use));
  }

  ExitStatus execute(const BuiltInUse& use) {
    switch (use.command) {
      case BuiltInCommand::version:
        return showVersion();
      case BuiltInCommand::operations:
        return listOperations();
      case BuiltInCommand::help:
      case BuiltInCommand::plan:
        break;  // The parser has its text, or has replaced the command.
      case BuiltInCommand::explain:
        return explain(use.word());
      case BuiltInCommand::doctor:
        return diagnose();
      case BuiltInCommand::batch:
        return runFile(use);
      case BuiltInCommand::shell:
        return runTyped();
      case BuiltInCommand::complete:
        return writeText(textOf(candidatesFor(use.words, descriptions_)));
      case BuiltInCommand::generate:
        return generate(use.word());
      case BuiltInCommand::installRights:
        return change(RightsChange::install);
      case BuiltInCommand::removeRights:
        return change(RightsChange::remove);
    }
    return ExitStatus::usage;
  }

  ExitStatus performOperation(const OperationUse& use) {
    const auto words = wordsOf(use);
    if (!words) return refuse(words.error());
    if (use.readsPaths && words->back().empty()) return concludeWithoutPaths();
    const WordContext context{environment_.caller, environment_.platform};
    auto arguments = readArguments(use.operation.row.arguments, *words, context);
    if (!arguments) return refuse(arguments.error());
    if (auto error = dangerousPath(use.operation.row, *words, context)) return refuse(*error);
    if (options_.isDryRun) return show(planFor(use.operation, *words, context));
    warnOfMissingFeature(use.operation.row);
    auto iconPath = absolutePath(options_.iconPath, environment_.caller);
    if (!iconPath) return refuse(iconPath.error());
    ActionText action(use.operation.row, *words, context);
    if (!isConfirmed(use.operation.row, action)) {
      presenter_->showFailure(describedError(PosixCode::canceled, nothingWasDone));
      return ExitStatus::failed;
    }

    auto requestor = connect();
    if (!requestor) return fail(requestor.error());
    const auto interruption =
        environment_.caller.catchInterruptions([&] { interrupt(**requestor); });
    bool hasReader = true;
    const auto handler = [&](const Dictionary& message) {
      if (!hasReader) return;
      agent_ = nullptr;  // An operation that sends feedback was authorized.
      hasReader = presenter_->showFeedback(message);
      // Without a reader the result is useless too.
      if (!hasReader) (*requestor)->interrupt();
    };
    canBeStopped_ = !use.operation.feedback.empty();
    const AuthorizationPresentation presentation{promptFor(action), std::move(*iconPath)};
    const SendRequest send = [&](const Array& sent, const FeedbackHandler& wanted) -> Outcome {
      if (wasStopped_) return posixError(PosixCode::canceled);  // Between two requests.
      return askingForPasswords([&] {
        return (*requestor)->perform(use.operation.row.identifier, sent, presentation, wanted);
      });
    };
    const auto outcome = sendOperation(use.operation, std::move(*arguments), *words, send, handler);
    if (!hasReader && !wasInterrupted_) return status(false);
    if (wasStopped_ && outcome && isPosixError(*outcome, PosixCode::canceled)) {
      auto error = stoppedError(use.operation.row.identifier);
      auto summary = outcome->userInfo;
      error.userInfo.merge(summary);
      fail(error);
      return ExitStatus::interrupted;
    }
    return conclude(outcome, **requestor);
  }

  /// The status is the operation's own, as far as it can be known.
  ExitStatus show(const Plan& plan) {
    const auto written =
        isJson_ ? status(presenter_->showAnswer(recordOf(plan))) : write(textOf(plan));
    return written == ExitStatus::done ? plan.status() : written;
  }

  /// The words of each argument. The list of paths, always the last argument, has those on standard
  /// input as well.
  UsageResult<GivenWords> wordsOf(const OperationUse& use) const {
    const auto& row = use.operation.row;
    auto words = use.words;
    if (!options_.hasJsonPaths) {
      if (auto error = doubtfulPath(row, words, environment_.platform.files)) return *error;
    }
    if (use.readsPaths) {
      auto further = pathsOnStandardInput();
      if (!further) return further.error();
      std::move(further->begin(), further->end(), std::back_inserter(words.back()));
    }
    if (options_.hasJsonPaths) decodeJsonPaths(row, words);
    return words;
  }

  ExitStatus concludeWithoutPaths() {
    if (!isJson_) {
      environment_.terminal.write(StandardStream::error,
                                  "qrtctl: nothing to do: standard input holds no path\n");
    }
    return status(presenter_->showAnswer({}));
  }

  Outcome sendOperation(const OperationDescription& operation, Array arguments,
                        const GivenWords& words, const SendRequest& send,
                        const FeedbackHandler& handler) {
    if (!takesPathList(operation.row)) {
      return send(arguments, operation.feedback.empty() ? FeedbackHandler() : handler);
    }
    const auto command = pathCommandFor(operation, std::move(arguments));
    const auto result = performForPaths(command, send, handler);
    return outcomeOf(result, command.paths, words.back(), operation.row.participle,
                     [this](const Error& error) { return localized(error); });
  }

  /// Some operations succeed without an effect where the system lacks what they change.
  void warnOfMissingFeature(const OperationArguments& operation) {
    if (operation.neededFeature.empty() || isJson_ || options_.isQuiet) return;
    const auto features = systemFeatures();
    const auto* const missing = missingFeature(operation, features);
    if (!missing) return;
    environment_.terminal.write(
        StandardStream::error,
        fmt::format("qrtctl {}: warning: this system has no {} ({}); the operation may succeed "
                    "without an effect\n",
                    operation.identifier, missing->name, missing->note));
  }

  /// Asks at a terminal. Without a terminal the answer is yes.
  bool isConfirmed(const OperationArguments& operation, ActionText& action) {
    if (operation.confirmation == Confirmation::none || options_.assumesYes) return true;
    if (!environment_.terminal.canAsk()) return true;
    const auto text = action.in([](const std::string& english) { return english; });
    const auto answer = environment_.terminal.ask(text + "? [y/N] ");
    return answer && (*answer == "y" || *answer == "Y" || *answer == "yes");
  }

  /// What the password dialog shows after the operation's own sentence.
  std::string promptFor(ActionText& action) {
    if (!options_.prompt.empty()) return options_.prompt;
    if (environment_.platform.self.realUserID() == 0) return {};  // There is no dialog for root.
    StringTables tables(environment_.bundlePath, environment_.language,
                        environment_.platform.files);
    return action.in([&](const std::string& english) {
      return tables.localizedStringForKey(english, english, actionTable);
    });
  }

  /// When the first attempt fails because no dialog can be shown, the operation has not begun:
  /// starts an agent on this terminal and tries a second time.
  template <class Attempt>
  Outcome askingForPasswords(const Attempt& attempt) {
    auto outcome = attempt();
    if (!outcome || !needsDialog(*outcome)) return outcome;
    const auto agent = environment_.caller.startTextAgent();
    if (!agent) return outcome;
    agent_ = agent.get();
    outcome = attempt();
    agent_ = nullptr;
    return outcome;
  }

  /// Runs in a signal handler. While the agent asks for a password, only the question ends: the
  /// daemon then replies with the fate of the operation, which is unknown after an interrupted
  /// call. An operation that sends feedback is stopped and its end waited for. The second time, and
  /// for other operations, the call ends at once.
  void interrupt(Requestor& requestor) {
    wasInterrupted_ = true;
    if (auto* const agent = agent_.exchange(nullptr)) {
      agent->dismiss();
    } else if (canBeStopped_ && !wasStopped_.exchange(true)) {
      requestor.stop();
    } else {
      requestor.interrupt();
      environment_.terminal.stopWaiting();
    }
  }

  ExitStatus conclude(const Outcome& outcome, const Requestor& requestor) {
    if (!outcome) return status(presenter_->showAnswer({}));
    if (outcome->code == 0) return status(presenter_->showAnswer(outcome->userInfo));
    if (requestor.wasInterrupted() && isPosixError(*outcome, PosixCode::interrupted)) {
      return failInterrupted(requestor.isOperationLeftBehind()
                                 ? "The operation continues in the privileged helper."
                                 : nothingWasDone);
    }
    if (wasInterrupted_ && isRefusal(*outcome)) return failInterrupted(nothingWasDone);
    return fail(*outcome);
  }

  ExitStatus failInterrupted(std::string_view consequence) {
    fail(describedError(PosixCode::interrupted, "Interrupted.", consequence));
    return ExitStatus::interrupted;
  }

  ExitStatus showHelp(const HelpText& help) {
    if (!isJson_) return write(help.text);
    return status(makeJsonPresenter(environment_.terminal)
                      ->showAnswer(helpRecord(help.command, descriptions_, systemFeatures())));
  }

  ExitStatus showOwnVersion() {
    const auto& version = operations_.implementationVersion();
    if (!isJson_) return write(fmt::format("qrtctl {}\n", version));
    return status(makeJsonPresenter(environment_.terminal)->showAnswer({{"version", version}}));
  }

  ExitStatus showVersion() {
    auto requestor = connect();
    if (!requestor) return fail(requestor.error());
    const auto version = (*requestor)->version();
    if (!version) return fail(version.error());
    return status(presenter_->showAnswer({{"version", *version}}));
  }

  ExitStatus listOperations() {
    if (!isJson_) return write(listOf(descriptions_));
    Array records;
    for (const auto& operation : descriptions_) {
      records.push_back(recordOf(operation, systemFeatures()));
    }
    return status(presenter_->showAnswer({{"operations", std::move(records)}}));
  }

  ExitStatus explain(const std::string& identifier) {
    const auto found = std::find_if(
        descriptions_.begin(), descriptions_.end(), [&](const OperationDescription& operation) {
          return operation.row.identifier == identifier || operation.right == identifier;
        });
    if (found == descriptions_.end()) return refuse(unknownOperation(identifier, descriptions_));
    if (isJson_) return status(presenter_->showAnswer(recordOf(*found, systemFeatures())));
    return write(explanationOf(*found, systemFeatures()));
  }

  ExitStatus diagnose() {
    auto [findings, isReached] = diagnoseHelper();
    const auto ofSystem = diagnoseSystem(descriptions_, environment_.platform.authority);
    findings.insert(findings.end(), ofSystem.begin(), ofSystem.end());
    const auto written = isJson_
                             ? status(presenter_->showAnswer({{"findings", recordsOf(findings)}}))
                             : write(findings);
    if (!isReached) return ExitStatus::unreachable;
    return hasProblem(findings) ? ExitStatus::failed : written;
  }

  /// The commands are not folded, so that they can be copied.
  ExitStatus write(const Findings& findings) {
    auto& terminal = environment_.terminal;
    const bool isColored = environment_.mayColor && terminal.isTerminal(StandardStream::output);
    const auto written = write(textOf(findings, isColored));
    if (written != ExitStatus::done) return written;
    return status(terminal.write(StandardStream::output, remediesOf(findings)));
  }

  struct HelperDiagnosis {
    Findings findings;
    bool isReached = false;
  };
  /// The helper's address and its version.
  HelperDiagnosis diagnoseHelper() {
    using State = Finding::State;
    const std::string address(serviceDescription().address);
    const auto requestor = connect();
    const auto version = requestor ? (*requestor)->version() : requestor.error();
    if (version) {
      return {{{address, State::good, options_.address}, {"version", State::good, *version}}, true};
    }
    auto problem = diagnoseService(options_.address);
    return {{{address, State::problem, descriptionForPerson(version.error())},
             {"service", State::problem, std::move(problem.text), std::move(problem.remedy)}}};
  }

  ExitStatus generate(const std::string& name) {
    const auto text = generatedText(name, descriptions_);
    if (!text) return refuse({fmt::format("There is no text '{}'", name)});
    return writeText(*text);
  }

  /// Text for a program, as it is.
  ExitStatus writeText(const std::string& text) {
    if (isJson_) return status(presenter_->showAnswer({{"text", text}}));
    return status(environment_.terminal.write(StandardStream::output, text));
  }

  /// Text for a person: folded on a terminal, one line for each row elsewhere.
  ExitStatus write(const std::string& text) {
    auto& terminal = environment_.terminal;
    const bool isFolded = terminal.isTerminal(StandardStream::output);
    return status(
        terminal.write(StandardStream::output, isFolded ? folded(text, terminal.columns()) : text));
  }

  ExitStatus change(RightsChange rights) {
    const auto installed = changeRights(rights, operations_, environment_.platform);
    if (!installed) return fail(installed.error());
    return status(presenter_->showAnswer({{"installed", *installed}}));
  }

  ExitStatus runFile(const BuiltInUse& use) {
    const auto file = use.words.empty() ? "-" : use.word();
    const bool isInputTaken = file == "-";
    CommandLineParser parser(descriptions_, options_);
    const auto commands = readBatch(file, [&](const std::vector<std::string>& words) {
      return problemOf(parser.parse(words), isInputTaken);
    });
    if (!commands) return refuse(commands.error());
    const auto result = runBatch(*commands, use.hasOption, [&](const SplitCommand& command) {
      return runPart(command, /*isTyped=*/false, isInputTaken);
    });
    if (result.failed > 0) {
      const auto summary = batchSummary(result, commands->size());
      presenter_->showFailure(describedError(PosixCode::inputOutput, summary));
      return result.status;
    }
    if (!isJson_) return ExitStatus::done;
    return status(presenter_->showAnswer({{"commands", std::int64_t(commands->size())}}));
  }

  ExitStatus runTyped() {
    const bool isTyped = environment_.terminal.isInputTyped();
    return runShell(
        environment_.terminal,
        [this](std::string_view line) { return completionsFor(line, descriptions_); },
        [&](const SplitCommand& command) { return runPart(command, isTyped, !isTyped); });
  }

  static std::optional<UsageError> problemOf(const ParsedWords& parsed, bool isInputTaken) {
    if (const auto* error = std::get_if<UsageError>(&parsed)) return *error;
    const auto* command = std::get_if<Command>(&parsed);
    return command ? problemInBatch(*command, isInputTaken) : std::nullopt;
  }

  /// Runs one command of a batch or of the shell.
  ExitStatus runPart(const SplitCommand& command, bool isTyped, bool isInputTaken) {
    if (isJson_) {
      const Dictionary part{{"line", std::int64_t(command.line)},
                            {"words", Array(command.words.begin(), command.words.end())}};
      environment_.terminal.write(StandardStream::output, lineOf(jsonOf(part)));
    }
    const auto label = isTyped ? "" : fmt::format("line {}: ", command.line);
    const CommandOrigin origin{options_, /*isPart=*/true, label, isInputTaken};
    Client part(environment_, operations_, session_, origin);
    const auto status = part.run(command.words);
    // A request to stop that came too late would stop the next operation.
    if (part.wasStopped_ || status == ExitStatus::unreachable) session_.drop();
    return status;
  }

  /// The system may wait some seconds before it restarts a helper that has just ended.
  Result<Requestor*> connect() {
    if (auto* const requestor = session_.requestorAt(options_.address)) return requestor;
    // Unregisters first, so that the process is never registered twice.
    session_.drop();
    const StartNotice notice(environment_.noticeDelay, [this] {
      constexpr std::string_view text = "qrtctl: waiting for the helper to start\n";
      const bool isShown = !isJson_ && !options_.isQuiet;
      if (isShown) environment_.terminal.write(StandardStream::error, text);
    });
    auto requestor = Requestor::connect(environment_.platform, options_.address,
                                        environment_.caller.processIdentifier(), operations_,
                                        environment_.patience);
    if (requestor) return session_.keep(std::move(*requestor), options_.address);
    auto error = requestor.error();
    if (isConnectionFailure(error)) {
      error.userInfo.emplace(localizedRecoverySuggestionKey, serviceDescription().troubleshooting);
    }
    return error;
  }

  Error localized(const Error& error) const {
    // The same English for each program that reads JSON.
    StringTables tables(environment_.bundlePath, isJson_ ? "C" : environment_.language,
                        environment_.platform.files);
    const Localization localization{
        tables, NSProcessInfoQRTAdditions::shouldUIUsePoliteForms(environment_.platform)};
    return *QRTPrivilegedOperationSet::localizedErrorForPrivilegedOperationError(error,
                                                                                 localization);
  }

  ExitStatus fail(const Error& error) {
    presenter_->showFailure(localized(error));
    return exitStatusFor(error);
  }

  ExitStatus refuse(const UsageError& error) {
    if (isJson_) {
      makeJsonPresenter(environment_.terminal)
          ->showFailure(describedError(PosixCode::invalidArgument, error.text));
    } else {
      const auto text = fmt::format("{}qrtctl: {}\nTry \"qrtctl --help\".\n", origin_.label,
                                    printable(error.text));
      environment_.terminal.write(StandardStream::error, text);
    }
    return ExitStatus::usage;
  }

  ExitStatus status(bool wasWritten) const {
    if (wasWritten) return ExitStatus::done;
    if (wasInterrupted_) return ExitStatus::interrupted;
    const auto code = environment_.terminal.outputFailure();
    // A reader that has read enough closes its pipe.
    if (code != PosixCode::brokenPipe) {
      const auto reason = descriptionForPerson(posixError(code));
      environment_.terminal.write(
          StandardStream::error,
          fmt::format("qrtctl: standard output cannot be written: {}\n", reason));
    }
    return ExitStatus::failed;
  }

  ProgressForm progressForm() const {
    if (options_.isQuiet) return ProgressForm::none;
    const bool isShown = environment_.terminal.isTerminal(StandardStream::error);
    if (isShown && environment_.mayRedraw) return ProgressForm::redrawn;
    return isShown || options_.wantsProgress ? ProgressForm::lines : ProgressForm::none;
  }

  const ClientEnvironment& environment_;
  const QRTPrivilegedOperationSet& operations_;
  Session& session_;
  const CommandOrigin origin_;
  const OperationDescriptions descriptions_;
  CommandOptions options_;
  bool isJson_ = false;
  std::atomic<bool> wasInterrupted_ = false;
  /// The operation sends feedback.
  std::atomic<bool> canBeStopped_ = false;
  std::atomic<bool> wasStopped_ = false;
  /// The agent that asks for passwords at the moment, or null.
  std::atomic<CallerProcess::TextAgent*> agent_ = nullptr;
  static_assert(decltype(agent_)::is_always_lock_free);
  std::unique_ptr<Presenter> presenter_;
};

}  // namespace

ExitStatus runClient(const std::vector<std::string>& words, const ClientEnvironment& environment) {
  const QRTPrivilegedOperationSetVK2 operations(environment.platform.log,
                                                environment.platform.authority);
  Session session;
  return Client(environment, operations, session).run(words);
}

}  // namespace qrt
