// How many descriptors a process may hold.
#pragma once

namespace qrt {

/// Raises this process's limit as far as it may. Called once, before there are other threads.
void raiseDescriptorLimit();

/// In a forked child: the limit that this process was started with.
void restoreDescriptorLimit();

}  // namespace qrt
