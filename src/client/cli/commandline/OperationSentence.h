// What an operation does, as a sentence for a person.
#pragma once

#include <string>

namespace qrt {

class QRTPrivilegedOperation;

/// "Delete the contents of one or more folders." for "Corvexa likes to delete ...".
std::string sentenceFor(const QRTPrivilegedOperation& operation);

}  // namespace qrt
