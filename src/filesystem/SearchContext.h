// What searches stand on.
#pragma once

#include "platform/FileSystem.h"
#include "platform/Log.h"
#include "platform/UserDirectory.h"

namespace qrt {

struct SearchContext {
  FileSystem& files;
  Log& log;
  UserDirectory& users;
};

}  // namespace qrt
