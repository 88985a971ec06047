// The only way to the port's implementations.
#pragma once

#include <memory>
#include <string>

#include "platform/Platform.h"

namespace qrt {

class CallerProcess;
class Terminal;

/// Owns the facilities of the system that this program runs on. Facilities look for the system's
/// fixed places below `root`: "/" in the programs, a folder of its own in a test.
class NativePlatform {
 public:
  explicit NativePlatform(const std::string& root = "/");
  ~NativePlatform();
  NativePlatform(const NativePlatform&) = delete;
  NativePlatform& operator=(const NativePlatform&) = delete;

  const Platform& facilities() const;

 private:
  struct Facilities;
  std::unique_ptr<Facilities> owned_;
};

/// What a command-line program needs beside the facilities.
std::unique_ptr<Terminal> makeNativeTerminal();
std::unique_ptr<CallerProcess> makeNativeCallerProcess();

}  // namespace qrt
