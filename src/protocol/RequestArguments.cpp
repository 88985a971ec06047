#include "protocol/RequestArguments.h"

#include "protocol/Names.h"

namespace qrt {

std::optional<RequestMetadata> DecodedArguments::metadata() const {
  if (count_ < metadataCount || !values_) return std::nullopt;
  const auto* marker = (*values_)[0].string();
  const auto* entries = (*values_)[1].dictionary();
  if (!marker || *marker != metadataMarker || !entries) return std::nullopt;
  return RequestMetadata{entries->size(), *entries};
}

}  // namespace qrt
