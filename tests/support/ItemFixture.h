// A folder, the native platform and what operations on single objects take.
#pragma once

#include <gtest/gtest.h>

#include "platform/AccessControl.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "support/ScratchFolder.h"

namespace qrt::test {

class ItemFixture : public testing::Test {
 protected:
  ScratchFolder scratch_;
  const NativePlatform native_;
  const Platform& platform_ = native_.facilities();
};

}  // namespace qrt::test
