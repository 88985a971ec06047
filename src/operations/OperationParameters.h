// The names of the operations' arguments in typed calls, as data beside the catalogue.
#pragma once

#include <array>
#include <initializer_list>
#include <span>
#include <string_view>

namespace qrt {

/// What a program passes, and how it is sent.
enum class ParameterKind {
  /// A path, made absolute.
  path,
  /// Any number of paths.
  paths,
  text,
  texts,
  /// Texts of which each is sent after the text `detail`.
  taggedTexts,
  number,
  /// Sent as a boolean number.
  flag,
  /// Sent as the text "1" or "0".
  textFlag,
  /// One word of `detail` ("word=text word=text ..."), sent as that word's text.
  choice,
  /// Any of the words of `detail` ("word=number ..."), sent as the sum of their numbers.
  choices,
  data,
  /// Not passed. The identifier of this process is sent.
  ownProcess,
  /// Not passed. The name of the requestor is sent.
  requestor,
};

struct OperationParameter {
  /// Words with hyphens: "stop-on-first-error". Empty for what is not passed.
  std::string_view name;
  ParameterKind kind;
  std::string_view detail = {};
  /// Whether a call may leave it out; it is then empty, 0 or false.
  bool isOptional = false;
};

/// A constant list. More elements than it can hold do not compile.
class ParameterList {
 public:
  constexpr ParameterList() = default;
  constexpr ParameterList(std::initializer_list<OperationParameter> parameters) {
    for (const auto& parameter : parameters) parameters_.at(size_++) = parameter;
  }

  constexpr const OperationParameter* begin() const { return parameters_.data(); }
  constexpr const OperationParameter* end() const { return begin() + size_; }
  constexpr bool empty() const { return size_ == 0; }

 private:
  std::array<OperationParameter, 5> parameters_{};
  std::size_t size_ = 0;
};

struct OperationParameters {
  std::string_view identifier;
  /// In the order in which they are sent.
  ParameterList parameters = {};
  /// The key of the number that a successful call returns; empty when it returns nothing.
  std::string_view answerKey = {};
  /// What that number means.
  std::string_view answer = {};
};

/// One row for every operation of the catalogue, in its order.
std::span<const OperationParameters> operationParameters();

/// The letter of each value that a parameter is sent as: "S", "N", "D", or two.
constexpr std::string_view typeLettersOf(ParameterKind kind) {
  switch (kind) {
    case ParameterKind::taggedTexts:
      return "SS";
    case ParameterKind::number:
    case ParameterKind::flag:
    case ParameterKind::choices:
    case ParameterKind::ownProcess:
      return "N";
    case ParameterKind::data:
      return "D";
    default:
      return "S";
  }
}

}  // namespace qrt
