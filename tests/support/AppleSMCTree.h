// The files of the kernel's SMC driver.
#pragma once

#include "support/ScratchFolder.h"

namespace qrt::test {

/// Plain files: whichever place of the list is asked for, they show the same key.
class AppleSMCTree {
 public:
  AppleSMCTree() {
    root_.make("mkdir -p " + folder_);
    change(
        "echo 1 > key_count; echo 0 > key_at_index; echo '#KEY' > key_at_index_name; "
        "echo ui32 > key_at_index_type; printf '\\0\\0\\0\\1' > key_at_index_data; "
        "echo 4 > key_at_index_data_length");
  }

  /// Changes the files by a shell script.
  void change(const std::string& script) const { root_.make("cd " + folder_ + "; " + script); }

  bool isMounted() const { return exists(place()); }
  const std::string& root() const { return root_.path(); }
  /// The file that says which place of the list the others show.
  std::string place() const { return root_.path(folder_ + "/key_at_index"); }

 private:
  const std::string folder_ = "sys/devices/platform/applesmc.768";
  const ScratchFolder root_;
};

}  // namespace qrt::test
