// One log line, which the compiler's command line defines: see CMakeLists.txt.
#include "platform/Log.h"

void writeLine(qrt::Log& log) { log.error(QRT_LINE); }
