// How many descriptors a process may hold.
#pragma once

namespace qrt {

/// Raises this process's limit to the maximum. Called once, before there are other threads.
void raiseDescriptorLimit();

/// In a forked child: restores the limit that this process was started with.
void restoreDescriptorLimit();

}  // namespace qrt
