// The operations on firmware, storage devices and the System Management Controller.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

class SharedSMCController;

/// Name of the variable, new value as text. The value gets the type that the variable has. A new
/// variable becomes data when the text is made of "%" and hexadecimal bytes, else a string. Nothing
/// happens on a computer without such variables.
HandlerFunction performOperationModifyNvramWithArguments;

/// Name below "/dev", number of 512-byte blocks to overwrite with zeros from the beginning.
HandlerFunction performOperationEraseDiskblocksWithArguments;

/// Key of four characters, its new value in the controller's byte order.
Outcome performOperationWriteSmcvalueWithArguments(SharedSMCController& controllers,
                                                   const Platform& platform,
                                                   const Array& arguments);

}  // namespace qrt
