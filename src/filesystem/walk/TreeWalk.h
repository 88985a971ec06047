// Acting on everything below a folder, with several threads where that pays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt {

struct TreeFolder;

/// An object that a walk visits. Refers to the walk; valid during the call that it is passed to.
class TreeObject {
 public:
  TreeObject(const TreeFolder* holder, FileAt at, std::uint32_t type, std::size_t worker)
      : at_(at), type_(type), worker_(worker), holder_(holder) {}

  /// Relative to the open folder that holds it, so an exchanged folder cannot lead it astray.
  FileAt at() const { return at_; }

  /// Type bits (`file_type`), never 0. An attacker may have replaced the object since.
  std::uint32_t type() const { return type_; }
  bool isFolder() const { return type_ == file_type::folder; }
  bool isLink() const { return type_ == file_type::link; }

  /// Which of the walk's threads makes the call: 0 is the caller of the walk, and all are below
  /// `WorkerCount::maximum`.
  std::size_t worker() const { return worker_; }

  /// From the top of the walk, which is "" itself.
  std::string relativePath() const;

 private:
  FileAt at_;
  std::uint32_t type_;
  std::size_t worker_;
  const TreeFolder* holder_;
};

/// What a walk does. Several threads may call it at the same time, for different objects.
class TreeVisitor {
 public:
  enum class Next { enter, pass };
  enum class Leave { done, again };

  virtual ~TreeVisitor() = default;

  /// How many descriptors one of its calls holds at most.
  virtual std::size_t heldDescriptors() const { return 2; }

  /// Called for each object below the top, for folders before their contents. `enter` continues
  /// with the contents of a folder and means nothing for other objects. An error ends the walk.
  virtual PosixResult<Next> visit(const TreeObject& object) = 0;

  /// Called for each entered folder, the top included, after everything below it. `again` visits
  /// the folder's contents another time; `round` counts from 0.
  virtual PosixResult<Leave> leave(const TreeObject& folder, unsigned round);

  /// Called for a folder (the top included) that cannot be opened or read further. Success skips
  /// it. Running out of descriptors or memory ends the walk without this call.
  virtual PosixCode cannotRead(const TreeObject& folder, PosixCode reason);
};

struct TreeFailure {
  PosixCode code;
  /// Of the object that it happened to, from the top.
  std::string relativePath;
};

/// Visits what is below `top`, which is not followed when it is a link. Folders are opened relative
/// to the open folder that holds them. The first error ends the walk and is returned. A request to
/// stop is the error `canceled`.
///
/// Holds at most `OpenFolders::maximumDescriptors` whatever the depth: folders further up are
/// closed and opened again on the way back. A folder that has been moved elsewhere by then is
/// `noEntry`.
///
/// Starts on the calling thread and ends there. Helpers join when enough has been seen, as many as
/// pay. They share the folders, and the entries of a large folder, so siblings are visited in no
/// particular order.
std::optional<TreeFailure> walkTree(const Platform& platform, FileAt top, TreeVisitor& visitor);

}  // namespace qrt
