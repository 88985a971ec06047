// Values of this system as the transport's objects, and back.
#pragma once

#import <Foundation/Foundation.h>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// Bytes of a text that are no valid UTF-8 travel as characters that stand for them.
NSDictionary* xpcDictionary(const Dictionary& dictionary);
NSArray* xpcArray(const Array& array);
/// Nil for success.
NSError* xpcError(const Outcome& outcome);

/// The classes that may be in a collection may come in its place as well: what a peer sent is of
/// its declared class only when it turns out to be.

/// None for nil, for another class, and for a collection that is larger than what a reader of
/// property lists accepts.
std::optional<Array> arrayFrom(NSArray* array);
std::optional<Dictionary> dictionaryFrom(NSDictionary* dictionary);
/// Success for nil, POSIX error 22 for another class.
Outcome outcomeFrom(NSError* error);

}  // namespace qrt
