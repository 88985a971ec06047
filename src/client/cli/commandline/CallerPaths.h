// Paths as the caller writes them, relative to its current folder.
#pragma once

#include <string>

#include "client/cli/commandline/UsageError.h"

namespace qrt {

class CallerProcess;
class FileSystem;

/// A relative path is below the current folder. Nothing is resolved or left out: links, ".." and a
/// "/" at the end stay as written. An empty path stays empty.
UsageResult<std::string> absolutePath(const std::string& path, const CallerProcess& caller);

/// A word for a program that runs in another folder. A relative path of an object that exists below
/// the current folder is refused, because the program would look for it in its own folder. Other
/// words stay as written.
UsageResult<std::string> wordForProgram(const std::string& word, const CallerProcess& caller,
                                        FileSystem& files);

}  // namespace qrt
