// Erases the beginning of a storage device; for bench/compare-erase.
#include <cstdio>
#include <cstdlib>

#include "hardware/BlockErasure.h"
#include "platform/BlockDevice.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: EraseBench NAME-BELOW-DEV BLOCKS\n");
    return 2;
  }
  const auto device = qrt::openBlockDevice("", argv[1]);
  const auto code =
      device ? qrt::eraseBlocks(**device, std::strtoull(argv[2], nullptr, 10)) : device.error();
  if (code != qrt::PosixCode::success) std::fprintf(stderr, "error %d\n", qrt::number(code));
  return code != qrt::PosixCode::success;
}
