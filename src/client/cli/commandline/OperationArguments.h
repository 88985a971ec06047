// How the arguments of each operation are written on a command line, as data.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

namespace qrt {

/// What the user writes, and what is sent for it.
enum class ArgumentForm {
  /// A path, sent as an absolute path.
  path,
  text,
  /// A path when the option `detail` is given, otherwise a text.
  pathWithOption,
  /// The name of a storage device, sent as written.
  device,
  /// The name of a utility that the helper runs, sent as written.
  utility,
  /// A word for a program that runs in another folder, sent as written; see CallerPaths.h.
  utilityWord,
  /// A text that is sent after a second text, the `detail`.
  taggedText,
  /// One word of the `detail` ("word=text word=text ..."), sent as that word's text.
  choice,
  /// An option without a value, sent as the text "1" when it is given, else "0".
  textFlag,
  /// An option without a value that this program understands. It is not sent.
  clientFlag,
  /// Not written. The text in `detail` is sent.
  constant,
  number,
  /// A number that is not negative.
  count,
  /// Four characters ("TEXT", or "'1234'" to set it apart from a number) or their number.
  fourCharacters,
  /// An option without a value, sent as a boolean number.
  numberFlag,
  /// "on" or "off", sent as a boolean number.
  onOff,
  /// A signal by name or number.
  signal,
  /// Any of the words of the `detail` ("word=number ..."), sent as the sum of their numbers.
  bits,
  /// Not written. The identifier of this process is sent.
  ownProcess,
  /// Path of a file whose contents are sent as data; "-" is standard input.
  fileContents,
  /// An access control list, sent in its external form; see AccessControlArgument.h.
  accessControlList,
};

enum class Occurrence { once, optional, oneOrMore, any };

struct ArgumentDescription {
  /// "PATH" is given by its position, "--recursive" is an option.
  std::string_view name;
  ArgumentForm form;
  std::string_view help = {};
  Occurrence occurrence = Occurrence::once;
  /// For the forms that use it; for an optional argument, what is sent when it is left out.
  std::string_view detail = {};
};

/// A constant list. More elements than it can hold do not compile.
class ArgumentList {
 public:
  constexpr ArgumentList() = default;
  constexpr ArgumentList(std::initializer_list<ArgumentDescription> arguments) {
    for (const auto& argument : arguments) arguments_.at(size_++) = argument;
  }

  constexpr const ArgumentDescription* data() const { return arguments_.data(); }
  constexpr const ArgumentDescription* begin() const { return data(); }
  constexpr const ArgumentDescription* end() const { return data() + size_; }
  constexpr std::size_t size() const { return size_; }
  constexpr bool empty() const { return size_ == 0; }

 private:
  std::array<ArgumentDescription, 6> arguments_{};
  std::size_t size_ = 0;
};

/// The option of an operation with a list of paths that leaves the paths after a failure alone.
inline constexpr std::string_view stopOption = "--stop-on-first-error";

/// Whether a question at the terminal precedes the operation, because it destroys something.
enum class Confirmation { none, asked };

struct OperationArguments {
  std::string_view identifier;
  /// In the order in which they are sent.
  ArgumentList arguments = {};
  /// What it does, for questions and dialogs, with names of arguments in braces: their words take
  /// that place. "{PATH*}" adds the size of the object and of what is below it. Empty when no
  /// dialog precedes the operation.
  std::string_view action = {};
  Confirmation confirmation = Confirmation::none;
  /// Name of the system's feature without which the operation always fails; empty when there is no
  /// such feature.
  std::string_view neededFeature = {};
  /// What has become of each path of a list: "deleted".
  std::string_view participle = {};
  /// More than the help of the arguments has room for; the reference and "explain" print it.
  std::string_view note = {};
};

/// The options of operations that delete; see DangerousPaths.h.
inline constexpr std::string_view preserveRootOption = "--no-preserve-root";
inline constexpr std::string_view preserveHomeOption = "--no-preserve-home";
inline constexpr std::string_view preserveMountsOption = "--no-preserve-mounts";

/// One row for every operation of the catalogue, in its order.
std::span<const OperationArguments> operationArguments();

/// The letter of each value that an argument of this form is sent as: "S", "N", "D", or two.
std::string_view typeLettersOf(ArgumentForm form);

/// A word that the user may write, and what is sent for it.
struct Choice {
  std::string_view word;
  std::string_view value;
};

/// Empty when the argument takes any word.
std::vector<Choice> choicesOf(const ArgumentDescription& argument);

bool isOption(const ArgumentDescription& argument);
/// Whether the argument may be given more than once.
bool isRepeatable(const ArgumentDescription& argument);
/// Whether the argument is a list of paths. Standard input can hold further ones.
bool isPathList(const ArgumentDescription& argument);
bool takesPathList(const OperationArguments& operation);
/// Whether the form is an option without a value.
bool isFlag(ArgumentForm form);
/// Whether the user writes nothing for this form.
bool isImplied(ArgumentForm form);

}  // namespace qrt
