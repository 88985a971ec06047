// The steps of starting a child that differ between the ports.
#pragma once

#include <memory>

namespace qrt {

/// Makes a pipe that no child inherits, reading end first. Sets `errno` and returns false when it
/// fails.
bool openPipe(int (&ends)[2]);

/// In a forked child: replaces it by a program that inherits the standard streams and no other
/// descriptor. Returns only when that fails, with the native error.
int replaceImage(const char* path, char* const arguments[], char* const environment[]);

/// The system's activity "Running external program.". Lines that its thread logs while the object
/// lives belong to it. Null where the system has no activities.
class ProgramActivity {
 public:
  virtual ~ProgramActivity() = default;
};
std::unique_ptr<ProgramActivity> beginProgramActivity();

}  // namespace qrt
