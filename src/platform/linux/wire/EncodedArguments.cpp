#include "platform/linux/wire/EncodedArguments.h"

#include "protocol/Names.h"
#include "protocol/WireText.h"

namespace qrt {

std::optional<RequestMetadata> EncodedArguments::metadata() const {
  if (count_ < metadataCount) return std::nullopt;
  auto reader = message_.body(position_);
  reader.enterArray(1);
  if (reader.signature() != "s" || reader.encodedString() != metadataMarker ||
      reader.signature() != "a{sv}") {
    return std::nullopt;
  }
  RequestMetadata metadata;
  for (const auto end = reader.enterArray(8); reader.position() < end; ++metadata.entryCount) {
    reader.align(8);
    const auto key = reader.encodedString();
    const auto type = reader.signature();
    const bool isForDialog = key == authorizationPromptKey || key == authorizationIconKey;
    if (type != "s" || !isForDialog) {
      reader.check(type);
      continue;
    }
    const auto text = reader.encodedString();
    if (text.size() > longestText) continue;
    metadata.entries.insert_or_assign(std::string(key), decodeWireText(text));
  }
  return metadata;
}

Array EncodedArguments::decode() {
  const auto message = std::move(message_);
  return message.body(position_).array();
}

}  // namespace qrt
