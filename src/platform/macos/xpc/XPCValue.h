// The conversions between values and the transport's objects.
#pragma once

#import <Foundation/Foundation.h>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// Bytes that are not valid UTF-8 travel as characters of a private range.
NSDictionary* xpcDictionary(const Dictionary& dictionary);
NSArray* xpcArray(const Array& array);
/// Nil for success.
NSError* xpcError(const Outcome& outcome);

// A peer can send any of the classes that are allowed inside of a collection in the collection's
// place, so these functions check the class of their argument.

/// No value for nil, for another class, and for a collection beyond the limits of property lists.
std::optional<Array> arrayFrom(NSArray* array);
std::optional<Dictionary> dictionaryFrom(NSDictionary* dictionary);
/// Success for nil, POSIX error 22 for another class.
Outcome outcomeFrom(NSError* error);

}  // namespace qrt
