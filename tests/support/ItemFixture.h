// A folder, the native platform and what operations on single objects take.
#pragma once

#include <gtest/gtest.h>

#include "filesystem/objects/ItemContext.h"
#include "platform/NativePlatform.h"
#include "support/ScratchFolder.h"

namespace qrt::test {

class ItemFixture : public testing::Test {
 protected:
  ScratchFolder scratch_;
  const NativePlatform platform_;
  const ItemContext context_{platform_.facilities()};
};

}  // namespace qrt::test
