#include "client/cli/generated/GeneratedText.h"
#include "platform/PolkitAction.h"

namespace qrt {

std::string polkitFile(const OperationDescriptions& operations) {
  std::string actions;
  for (const auto& operation : operations) {
    actions += polkitAction(operation.right, operation.definition, operation.dialog);
  }
  return polkitActionFile(actions);
}

}  // namespace qrt
