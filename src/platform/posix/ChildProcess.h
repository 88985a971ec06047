// What the ports do differently between this process and a child.
#pragma once

#include <memory>

namespace qrt {

/// Makes a pipe, reading end first, that no child inherits. False, with `errno`, when there is
/// none.
bool openPipe(int (&ends)[2]);

/// In a forked child: becomes another program that inherits the standard streams and no other
/// descriptor. Comes back only when that fails, with the native error.
int replaceImage(const char* path, char* const arguments[], char* const environment[]);

/// The system's activity "Running external program.", which what is logged meanwhile belongs to.
/// Lasts as long as the object, on one thread. Null where the system has no activities.
class ProgramActivity {
 public:
  virtual ~ProgramActivity() = default;
};
std::unique_ptr<ProgramActivity> beginProgramActivity();

}  // namespace qrt
