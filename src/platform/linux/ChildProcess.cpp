#include "platform/posix/ChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace qrt {

bool openPipe(int (&ends)[2]) { return pipe2(ends, O_CLOEXEC) == 0; }

int replaceImage(const char* path, char* const arguments[], char* const environment[]) {
  // Every descriptor of the program is opened with O_CLOEXEC.
  execve(path, arguments, environment);
  return errno;
}

}  // namespace qrt
