// The operation that changes the preferences of any user.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

/// Key, application, user, host, and the new value as the text of a property list. The empty text
/// removes the value.
HandlerFunction performOperationModifyPreferencesWithArguments;

/// Code 10: a preference setting could not be updated.
Error preferenceSettingError();

}  // namespace qrt
