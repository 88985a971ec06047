// The operation that changes preferences of other users.
#pragma once

#include "base/Error.h"
#include "operations/HandlerTable.h"

namespace qrt {

class Preferences;
class PropertyLists;

/// Code 10: a preference setting could not be updated.
Error preferenceSettingError();

/// Adds the handler of "modify-preferences". The facilities outlive the table.
void registerPreferenceHandlers(HandlerTable& handlers, Preferences& preferences,
                                PropertyLists& propertyLists);

}  // namespace qrt
