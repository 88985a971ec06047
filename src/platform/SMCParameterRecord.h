// The record that is exchanged with the driver of the System Management Controller.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qrt {

/// Question and answer have the same layout, in the host's byte order; value bytes are in the
/// controller's order, big-endian. Members that a command does not use are zero.
struct SMCParameterRecord {
  struct FirmwareVersion {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t build = 0;
    std::uint8_t reserved = 0;
    std::uint16_t release = 0;
  };
  struct PowerLimits {
    std::uint16_t version = 0;
    std::uint16_t length = 0;
    std::uint32_t cpuLimit = 0;
    std::uint32_t gpuLimit = 0;
    std::uint32_t memoryLimit = 0;
  };

  std::uint32_t key = 0;
  FirmwareVersion firmwareVersion;
  std::uint8_t padding10[2] = {};
  PowerLimits powerLimits;
  std::uint32_t dataSize = 0;
  std::uint32_t dataType = 0;
  std::uint8_t dataAttributes = 0;
  std::uint8_t padding37[3] = {};
  /// One of `smc_result`, or another reason of the controller's to refuse.
  std::uint8_t result = 0;
  std::uint8_t status = 0;
  /// One of `smc_command`.
  std::uint8_t command = 0;
  std::uint8_t padding43 = 0;
  std::uint32_t index = 0;
  std::array<std::uint8_t, 32> bytes{};
};

static_assert(offsetof(SMCParameterRecord, key) == 0);
static_assert(offsetof(SMCParameterRecord, firmwareVersion) == 4);
static_assert(offsetof(SMCParameterRecord::FirmwareVersion, major) == 0);
static_assert(offsetof(SMCParameterRecord::FirmwareVersion, minor) == 1);
static_assert(offsetof(SMCParameterRecord::FirmwareVersion, build) == 2);
static_assert(offsetof(SMCParameterRecord::FirmwareVersion, reserved) == 3);
static_assert(offsetof(SMCParameterRecord::FirmwareVersion, release) == 4);
static_assert(offsetof(SMCParameterRecord, padding10) == 10);
static_assert(offsetof(SMCParameterRecord, powerLimits) == 12);
static_assert(offsetof(SMCParameterRecord::PowerLimits, version) == 0);
static_assert(offsetof(SMCParameterRecord::PowerLimits, length) == 2);
static_assert(offsetof(SMCParameterRecord::PowerLimits, cpuLimit) == 4);
static_assert(offsetof(SMCParameterRecord::PowerLimits, gpuLimit) == 8);
static_assert(offsetof(SMCParameterRecord::PowerLimits, memoryLimit) == 12);
static_assert(offsetof(SMCParameterRecord, dataSize) == 28);
static_assert(offsetof(SMCParameterRecord, dataType) == 32);
static_assert(offsetof(SMCParameterRecord, dataAttributes) == 36);
static_assert(offsetof(SMCParameterRecord, padding37) == 37);
static_assert(offsetof(SMCParameterRecord, result) == 40);
static_assert(offsetof(SMCParameterRecord, status) == 41);
static_assert(offsetof(SMCParameterRecord, command) == 42);
static_assert(offsetof(SMCParameterRecord, padding43) == 43);
static_assert(offsetof(SMCParameterRecord, index) == 44);
static_assert(offsetof(SMCParameterRecord, bytes) == 48);
static_assert(sizeof(SMCParameterRecord) == 80);

namespace smc_command {
/// `key`, `dataSize` -> `result`, `bytes`
inline constexpr std::uint8_t readKey = 5;
/// `key`, `dataSize`, `bytes` -> `result`
inline constexpr std::uint8_t writeKey = 6;
/// `index` -> `result`, `key`
inline constexpr std::uint8_t keyAtIndex = 8;
/// `key` -> `result`, `dataSize`, `dataType`
inline constexpr std::uint8_t keyInfo = 9;
}  // namespace smc_command

namespace smc_result {
inline constexpr std::uint8_t success = 0;
inline constexpr std::uint8_t keyNotFound = 0x84;
inline constexpr std::uint8_t keyNotReadable = 0x85;
}  // namespace smc_result

}  // namespace qrt
