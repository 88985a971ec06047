// One log line, given by whoever compiles this: see the list beside it.
#include "platform/Log.h"

void writeLine(qrt::Log& log) { log.error(QRT_LINE); }
