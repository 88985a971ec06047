// Writing to what keeps its contents below the file systems.
#pragma once

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

class BlockDevices;
class Log;
class Nvram;
class SharedSMCController;

/// Name of the variable, new value as text. The value gets the type that the variable has. A new
/// variable becomes data when the text is made of "%" and hexadecimal bytes, else a string. Nothing
/// happens on a computer without such variables.
Outcome performOperationModifyNvramWithArguments(const Array& arguments, Nvram& nvram);

/// Name below "/dev", number of 512-byte blocks to overwrite with zeros from the beginning.
Outcome performOperationEraseDiskblocksWithArguments(const Array& arguments, BlockDevices& devices);

/// Key of four characters, its new value in the controller's byte order.
Outcome performOperationWriteSmcvalueWithArguments(const Array& arguments,
                                                   SharedSMCController& controllers, Log& log);

}  // namespace qrt
