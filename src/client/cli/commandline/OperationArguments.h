// How the arguments of each operation are written on a command line, as data.
#pragma once

#include <string_view>
#include <vector>

namespace qrt {

/// What a person writes and what is sent for it.
enum class ArgumentForm {
  /// A path, sent as an absolute one.
  path,
  text,
  /// A text that is sent behind another one, the `detail`.
  taggedText,
  /// One word of the `detail` ("word=text word=text ..."), sent as that word's text.
  choice,
  /// An option without a value, sent as the text "1" when it is there, else "0".
  textFlag,
  /// Not written; always the text in `detail`.
  constant,
  number,
  /// As above, but sent as a boolean number.
  numberFlag,
  /// "on" or "off", sent as a boolean number.
  onOff,
  /// A signal by name or number.
  signal,
  /// Any of the words of the `detail` ("word=number ..."), sent as the sum of their numbers.
  bits,
  /// Not written; the identifier of this process.
  ownProcess,
  /// Path of a file whose contents are sent as data; "-" is standard input.
  fileContents,
  /// An access control list, sent in its external form; see AccessControlArgument.h.
  accessControlList,
};

enum class Occurrence { once, optional, oneOrMore, any };

struct ArgumentDescription {
  /// "PATH" stands by its position, "--recursive" is an option.
  std::string_view name;
  ArgumentForm form;
  std::string_view help = {};
  Occurrence occurrence = Occurrence::once;
  /// See the form; for an optional one, what is sent when it is left out.
  std::string_view detail = {};
};

struct OperationArguments {
  std::string_view identifier;
  /// False keeps the operation off the command line.
  bool isAvailable;
  /// In the order in which they are sent.
  std::vector<ArgumentDescription> arguments = {};
  /// What a person at a terminal is asked before it begins; empty for what does not destroy.
  std::string_view question = {};
  /// Name of the system's feature that it works with; empty when there is none without which it
  /// always fails.
  std::string_view neededFeature = {};
  /// What the help of the arguments has no room for; printed by the reference and by "explain".
  std::string_view note = {};
};

/// One entry for every operation of the catalogue, in its order.
const std::vector<OperationArguments>& operationArguments();

/// The letter of each value that an argument of this form is sent as: "S", "N", "D", or two.
std::string_view typeLettersOf(ArgumentForm form);

bool isOption(const ArgumentDescription& description);
/// True when nothing is written for it, or nothing but the option's name.
bool takesNoValue(ArgumentForm form);
/// A path of which there may be many; such operations take them from standard input as well.
bool isPathList(const ArgumentDescription& description);
bool takesPathList(const OperationArguments& operation);
/// True when no word of the command line belongs to it.
bool isImplied(ArgumentForm form);

}  // namespace qrt
