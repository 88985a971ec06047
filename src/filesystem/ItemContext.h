// What work on objects and all that is attached to them stands on.
#pragma once

#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"

namespace qrt {

struct ItemContext {
  FileSystem& files;
  ExtendedAttributes& attributes;
};

}  // namespace qrt
