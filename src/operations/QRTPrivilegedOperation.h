// The description of one privileged operation.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/PropertyValue.h"

namespace qrt {

class Log;
struct QRTPrivilegedOperationStaticDescription;

/// Immutable. Every object has passed the checks of `initWithIdentifier`.
class QRTPrivilegedOperation {
 public:
  /// The operation of a catalogue record. Nothing for a record that lacks a text or has an unknown
  /// policy, and, with a log line, for an inconsistent one.
  static std::optional<QRTPrivilegedOperation> initWithStaticDescription(
      const QRTPrivilegedOperationStaticDescription& description, Log& log);

  /// Nothing unless identifier, policy and presentation are non-empty, the policy is a string or a
  /// dictionary, at most one capability is set, and there is one type letter for each argument (no
  /// letters if the count is `NSNotFound`, "any").
  static std::optional<QRTPrivilegedOperation> initWithIdentifier(
      std::string identifier, PropertyValue authenticationPolicy, bool progressCapability,
      bool outputCapability, std::uint64_t argumentCount, std::optional<std::string> argumentTypes,
      std::string userPresentation);

  /// The authorization right of the operation; nothing if the implementation code is empty.
  std::optional<std::string> authenticationRightNameForImplementationIdentifier(
      const std::string& implementationCode) const;

  /// The stem of the handler's name, e.g. "DeleteFoldercontents" for "delete-foldercontents".
  std::string operationIdentifierForExecutionSelector() const;

  const std::string& identifier() const { return identifier_; }
  /// The right's definition: the name of a rule, or a dictionary.
  const PropertyValue& authenticationPolicy() const { return authenticationPolicy_; }
  bool isSupportingProgressFeedback() const { return isSupportingProgressFeedback_; }
  bool isSupportingLiveOutput() const { return isSupportingLiveOutput_; }
  bool isSupportingFeedback() const {
    return isSupportingProgressFeedback_ || isSupportingLiveOutput_;
  }
  /// `NSNotFound` for any number.
  std::uint64_t argumentCount() const { return argumentCount_; }
  const std::optional<std::string>& argumentTypeCodes() const { return argumentTypeCodes_; }
  const std::string& presentationString() const { return presentationString_; }

 private:
  QRTPrivilegedOperation() = default;

  std::string identifier_;
  PropertyValue authenticationPolicy_ = "";
  bool isSupportingProgressFeedback_ = false;
  bool isSupportingLiveOutput_ = false;
  std::uint64_t argumentCount_ = 0;
  std::optional<std::string> argumentTypeCodes_;
  std::string presentationString_;
};

}  // namespace qrt
