// A plan as text and as a value for JSON.
#pragma once

#include <string>

#include "base/PropertyValue.h"
#include "client/cli/plan/Plan.h"

namespace qrt {

/// Lines of labels and texts. Of many objects the first ones are named.
std::string textOf(const Plan& plan);

/// The object of docs/json.md.
Dictionary recordOf(const Plan& plan);

}  // namespace qrt
