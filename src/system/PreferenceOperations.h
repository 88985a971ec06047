// The operation that changes preferences of other users.
#pragma once

#include "base/Error.h"
#include "operations/HandlerTable.h"

namespace qrt {

/// Code 10: a preference setting could not be updated.
Error preferenceSettingError();

/// Adds the handler of "modify-preferences".
void registerPreferenceHandlers(HandlerTable& handlers);

}  // namespace qrt
