// The operations that ask the kernel for something: its settings and signals to processes.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

/// Name of the setting, new value.
HandlerFunction performOperationModifyKernelsettingWithArguments;

/// Process identifier, signal number. Of both only the low 32 bits count.
HandlerFunction performOperationSignalProcessWithArguments;

}  // namespace qrt
