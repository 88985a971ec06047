// What work on objects and all that is attached to them stands on.
#pragma once

#include "platform/AccessControl.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt {

struct ItemContext {
  explicit ItemContext(const Platform& platform)
      : files(platform.files),
        attributes(platform.extendedAttributes),
        accessControl(platform.accessControl) {}

  FileSystem& files;
  ExtendedAttributes& attributes;
  AccessControl& accessControl;
};

}  // namespace qrt
