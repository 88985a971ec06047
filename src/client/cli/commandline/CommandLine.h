// What the words after the program's name ask for.
#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "client/cli/commandline/ArgumentReader.h"
#include "client/cli/commandline/CommandTables.h"
#include "client/cli/commandline/OperationDescription.h"

namespace qrt {

struct BuiltInUse {
  BuiltInCommand command = BuiltInCommand::version;
  std::vector<std::string> words;
  /// Whether its own option was given.
  bool hasOption = false;

  /// The first word; empty without one.
  std::string word() const { return words.empty() ? "" : words.front(); }
};

struct OperationUse {
  const OperationDescription& operation;
  GivenWords words;
  /// Whether standard input holds further paths.
  bool readsPaths = false;
  /// Whether only the paths of records are written, each with a zero byte.
  bool writesPaths = false;
};

struct Command {
  CommandOptions options;
  std::string name;
  std::variant<BuiltInUse, OperationUse> use;
};

struct HelpText {
  std::string text;
  /// The command that it is about; empty for the whole program.
  std::string command;
};

/// The version of this program is asked for.
struct VersionRequest {};

using ParsedWords = std::variant<Command, HelpText, VersionRequest, UsageError>;

/// Making a parser takes much longer than reading a command line with it.
class CommandLineParser {
 public:
  /// `operations` outlives the parser and its commands. An option that is not given is as in
  /// `defaults`.
  explicit CommandLineParser(const OperationDescriptions& operations,
                             const CommandOptions& defaults = {});
  ~CommandLineParser();

  /// Words after "--" are never options.
  ParsedWords parse(std::vector<std::string> words);

 private:
  class Grammar;
  std::unique_ptr<Grammar> grammar_;
};

}  // namespace qrt
