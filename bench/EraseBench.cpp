// Erasing a storage device, beside the usual tool with large and with single blocks.
#include <benchmark/benchmark.h>

#include "hardware/BlockErasure.h"
#include "platform/posix/PosixBlockDevices.h"
#include "support/LoopDevice.h"

namespace {

constexpr std::uint64_t blockSize = 512;
constexpr std::uint64_t deviceSize = 256 << 20;

/// On a disk rather than in memory. Written once beforehand: the first writes to a new file cost
/// more.
class Device {
 public:
  Device() : folder_("/var/tmp"), loop_(made(folder_), 512) {}

  bool isThere() const { return loop_.isThere(); }
  std::string name() const { return loop_.name(); }

 private:
  static std::string made(const qrt::test::ScratchFolder& folder) {
    const auto image = folder.file("image");
    qrt::test::run(
        {"dd", "if=/dev/urandom", "of=" + image, "bs=1M", "count=256", "conv=fdatasync"});
    return image;
  }

  qrt::test::ScratchFolder folder_;
  qrt::test::LoopDevice loop_;
};

void erase(benchmark::State& state) {
  const Device device;
  if (!device.isThere()) return state.SkipWithError("needs root and loop devices");
  qrt::PosixBlockDevices devices("");
  for (auto _ : state) {
    auto opened = devices.open(device.name());
    if (!opened || qrt::eraseBlocks(**opened, deviceSize / blockSize) != qrt::PosixCode::success) {
      state.SkipWithError("the device cannot be erased");
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * deviceSize));
}

void dd(benchmark::State& state) {
  const Device device;
  if (!device.isThere()) return state.SkipWithError("needs root and loop devices");
  const auto size = static_cast<std::uint64_t>(state.range(0));
  for (auto _ : state) {
    if (!qrt::test::run({"dd", "if=/dev/zero", "of=/dev/" + device.name(), "conv=fdatasync,notrunc",
                         "bs=" + std::to_string(size),
                         "count=" + std::to_string(deviceSize / size)})) {
      state.SkipWithError("dd failed");
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * deviceSize));
}

constexpr int rounds = 5;
BENCHMARK(erase)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(rounds);
BENCHMARK(dd)
    ->Arg(1 << 20)
    ->Arg(512)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(rounds);

}  // namespace

BENCHMARK_MAIN();
