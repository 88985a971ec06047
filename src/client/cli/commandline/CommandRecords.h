// Commands and operations as a program reads them: the objects of docs/json.md.
#pragma once

#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "client/cli/commandline/OperationDescription.h"

namespace qrt {

struct SystemFeature;

Dictionary recordOf(const OperationDescription& operation,
                    const std::vector<SystemFeature>& features);

/// The help on a command; on the whole program when the name is empty.
Dictionary helpRecord(const std::string& command, const OperationDescriptions& operations,
                      const std::vector<SystemFeature>& features);

}  // namespace qrt
