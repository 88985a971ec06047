// Looking at what a walk comes upon with two threads.
#pragma once

#include <functional>
#include <string>

#include "filesystem/QRTDirectoryEnumerator.h"

namespace qrt {

/// `path` is relative to the base of the walk, `status` that of the object itself.
using Look = std::function<void(const std::string& path, const FileStatus& status)>;

/// Shows every object of the walk whose status can be read, in walking order and to the calling
/// thread. What lies ahead is read meanwhile by another one, in pieces that keep few folders open;
/// a short walk, or one for which there is no thread, is done without.
void lookAtEach(FileSystem& files, QRTDirectoryEnumerator& walk, const Look& look);

}  // namespace qrt
