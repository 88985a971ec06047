// Device nodes.
#pragma once

#include "platform/BlockDevice.h"

namespace qrt {

class PosixBlockDevices final : public BlockDevices {
 public:
  explicit PosixBlockDevices(const std::string& root) : folder_(root + "/dev") {}

  PosixResult<std::unique_ptr<BlockDevice>> open(const std::string& name) override;

 private:
  const std::string folder_;
};

}  // namespace qrt
