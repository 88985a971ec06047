// The table of all privileged operations, as constant data.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qrt {

/// The platform's number for "not found" and, as an argument count, for "any number".
inline constexpr std::uint64_t NSNotFound = 0x7fffffffffffffff;

/// One record of the table, with a fixed layout of seven 64-bit slots.
struct QRTPrivilegedOperationStaticDescription {
  struct Capabilities {
    bool progressFeedback = false;
    bool liveOutput = false;
    std::uint8_t reserved[6] = {};
  };

  std::uint64_t code;
  const char* identifier;
  /// One of `authentication_policy`.
  std::uint64_t authenticationPolicy;
  Capabilities capabilities;
  /// The exact number of arguments, or `NSNotFound`.
  std::uint64_t argumentCount;
  /// One letter for each argument: "S" string, "N" number, "D" data. Null for no or any arguments.
  const char* argumentTypes;
  /// The sentence in the authorization dialog.
  const char* userPresentation;
};
static_assert(sizeof(QRTPrivilegedOperationStaticDescription) == 7 * sizeof(std::uint64_t));
static_assert(sizeof(QRTPrivilegedOperationStaticDescription::Capabilities) ==
              sizeof(std::uint64_t));

namespace authentication_policy {
inline constexpr std::uint64_t allow = 0;
inline constexpr std::uint64_t defaultRule = 1;
inline constexpr std::uint64_t authenticateAdmin = 2;
}  // namespace authentication_policy

/// Operations that the service performs itself.
namespace operation_code {
inline constexpr std::uint64_t nop = 9998;
inline constexpr std::uint64_t discardAuth = 9997;
inline constexpr std::uint64_t deleteFiles = 9996;
inline constexpr std::uint64_t prepareUninstall = 9995;
inline constexpr std::uint64_t performUninstall = 9994;
}  // namespace operation_code

/// The highest code with a handler.
inline constexpr std::uint64_t lastCodeWithHandler = 27;

/// The code of the record after the last operation. Nothing else in that record is read.
inline constexpr std::uint64_t endOfCatalogue = 9999;

/// Ends with a record of code `endOfCatalogue`.
extern const QRTPrivilegedOperationStaticDescription privilegedOperationCatalogue[];

/// What the operation does, out of the sentence of its dialog: "Delete ..." for "Corvexa likes to
/// delete ...".
std::string sentenceOf(std::string_view userPresentation);

}  // namespace qrt
