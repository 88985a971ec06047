#include "client/cli/commandline/OperationSentence.h"

#include <string_view>

#include "operations/QRTPrivilegedOperation.h"

namespace qrt {

std::string sentenceFor(const QRTPrivilegedOperation& operation) {
  const auto& presentation = operation.presentationString();
  constexpr std::string_view wish = " likes to ";
  const auto at = presentation.find(wish);
  if (at == std::string::npos) return presentation;
  auto sentence = presentation.substr(at + wish.size());
  if (!sentence.empty() && sentence[0] >= 'a' && sentence[0] <= 'z') sentence[0] += 'A' - 'a';
  return sentence;
}

}  // namespace qrt
