#include "filesystem/objects/PermissionPropagation.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Path.h"
#include "filesystem/objects/PathAsWritten.h"
#include "filesystem/objects/TrustedTarget.h"
#include "filesystem/walk/TreeWalk.h"
#include "filesystem/walk/WalkBounds.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/FeedbackMessage.h"

namespace qrt {
namespace {

/// How a failure is reported.
struct Step {
  std::int64_t code;
  std::string_view description;
  std::string_view suggestion;
};

constexpr Step settingList{
    12, "An Access Control List could not be set.",
    "The operating system was unable to change the rights for a file system object via an Access "
    "Control List."};
constexpr Step looking{
    13, "It was not possible to determine the attributes of a file system object.",
    "The operating system was unable to get attributes or other status information about a file "
    "or folder."};
constexpr Step settingOwner{
    14, "It was not possible to change the owner of a file system object.",
    "The operating system was unable to set a new owner for a file and folder."};
constexpr Step settingPermissions{
    15, "It was not possible to change the POSIX permissions of a file system object.",
    "The operating system was unable to establish new permission settings for a file or folder."};

struct Failure {
  /// Null for a refused object.
  const Step* step;
  PosixCode code;
};

std::optional<Failure> failureOf(const Step& step, PosixCode code) {
  if (code == PosixCode::success) return std::nullopt;
  return Failure{&step, code};
}

Error errorFor(const Failure& failure, const std::string& path) {
  if (failure.step == nullptr) return posixError(failure.code, path);
  const auto& [code, description, suggestion] = *failure.step;
  return withUnderlyingError(
      withFilePath(privilegedOperationError(code, description, suggestion), path),
      posixError(failure.code));
}

/// Counts the objects and sends the progress after every 100 of them. Thread-safe.
class Progress {
 public:
  Progress(FeedbackConnection* feedback, std::uint64_t expectedCount)
      : feedback_(feedback),
        expectedCount_(expectedCount == 0 ? 1.0 : static_cast<double>(expectedCount)) {}

  void count() {
    if (++done_ % objectsBetweenMessages != 0) return;
    // The first thread to get here sends the smaller number.
    const std::lock_guard lock(mutex_);
    sent_ += objectsBetweenMessages;
    send(static_cast<double>(sent_) / expectedCount_);
  }

  void finish() { send(1.0); }

 private:
  static constexpr std::uint64_t objectsBetweenMessages = 100;

  void send(double fraction) {
    if (feedback_) feedback_->processPrivilegedOperationFeedback(progressMessage(fraction));
  }

  FeedbackConnection* const feedback_;
  const double expectedCount_;
  std::atomic<std::uint64_t> done_ = 0;
  std::mutex mutex_;
  std::uint64_t sent_ = 0;
};

class Propagation : public TreeVisitor {
 public:
  Propagation(const Platform& platform, const std::string& path, const PermissionModel& model,
              const WalkBounds& bounds, Progress& progress)
      : platform_(platform), path_(path), model_(model), bounds_(bounds), progress_(progress) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    if (const auto failure = change(object)) {
      const std::lock_guard lock(mutex_);
      if (!error_) error_ = errorFor(*failure, pathOf(object.relativePath()));
      return failure->code;
    }
    progress_.count();
    const bool isEntered = object.isFolder() && bounds_.admits(object.at(), object.relativePath());
    return isEntered ? Next::enter : Next::pass;
  }

  Outcome run(const Folder& folder) {
    const auto failure = walkTree(platform_, {folder, "."}, *this);
    if (error_) return *error_;
    if (failure) return posixError(failure->code, pathOf(failure->relativePath));
    return success;
  }

 private:
  std::string pathOf(const std::string& relativePath) const {
    return path::below(path_, relativePath);
  }

  std::optional<Failure> change(const TreeObject& object) const {
    if (model_.givesList() && object.isLink()) {
      if (const auto failure = changeListOfTarget(object)) return failure;
    }
    const bool changesList = model_.givesList() && !object.isLink();
    const bool changesStatus = model_.givesOwner() || model_.givesPermissions();
    if (!changesList && !changesStatus) return std::nullopt;

    const auto held = hold(object, changesList);
    if (!held) return Failure{changesList ? &settingList : &looking, held.error()};
    if (changesList) {
      const auto code = platform_.accessControl.setList(*held, model_.list());
      if (code != PosixCode::success) return Failure{&settingList, code};
    }
    return changesStatus ? changeStatus(*held) : std::nullopt;
  }

  PosixResult<HeldObject> hold(const TreeObject& object, bool changesList) const {
    const bool canBeOpened = object.isFolder() || object.type() == file_type::regular;
    if (changesList && canBeOpened) return platform_.files.holdOpen(object.at());
    return platform_.files.hold(object.at(), Links::stay);
  }

  std::optional<Failure> changeListOfTarget(const TreeObject& link) const {
    const auto target = holdTrustedTarget(platform_.files, link.at());
    if (!target) return Failure{&settingList, target.error()};
    if (!*target) return std::nullopt;
    return failureOf(settingList, platform_.accessControl.setList(**target, model_.list()));
  }

  /// Reads the status after the list was set, because the list changes permissions on some systems.
  std::optional<Failure> changeStatus(const HeldObject& object) const {
    const auto status = object.status();
    if (!status) return Failure{&looking, status.error()};
    if (model_.givesOwner()) {
      if (const auto failure = changeOwner(object, *status)) return failure;
    }
    return changePermissions(object, *status);
  }

  std::optional<Failure> changePermissions(const HeldObject& object,
                                           const FileStatus& status) const {
    if (!model_.givesPermissions()) return std::nullopt;
    const auto permissions = model_.permissionsFor(status);
    if (permissions == status.permissions()) return std::nullopt;
    const auto code = object.setPermissions(permissions);
    if (status.isLink() && code == PosixCode::notSupported) return std::nullopt;
    return failureOf(settingPermissions, code);
  }

  std::optional<Failure> changeOwner(const HeldObject& object, const FileStatus& status) const {
    if ((status.mode & permission_bits::setID) != 0)
      return Failure{nullptr, PosixCode::invalidArgument};
    const auto userID = model_.userIDFor(status);
    const auto groupID = model_.groupIDFor(status);
    if (userID == status.userID && groupID == status.groupID) return std::nullopt;
    return failureOf(settingOwner, object.setOwner(userID, groupID));
  }

  const Platform& platform_;
  const std::string& path_;
  const PermissionModel& model_;
  const WalkBounds& bounds_;
  Progress& progress_;
  std::mutex mutex_;
  std::optional<Error> error_;
};

}  // namespace

Outcome propagatePermissions(const Platform& platform, const std::string& folder,
                             std::uint64_t expectedCount, bool stayOnFileSystem,
                             std::uint8_t options, FeedbackConnection* feedback) {
  const auto path = resolvedSearchFolder(platform.files, folder);
  if (!path) return path.error();
  Progress progress(feedback, expectedCount);
  const auto opened = platform.files.openFolder(path->c_str(), Links::follow);
  if (!opened && isExhaustion(opened.error())) return posixError(opened.error());
  if (!opened) {
    // An unreadable folder counts as empty.
    progress.finish();
    return success;
  }
  const auto model = PermissionModel::of(platform, *opened, options);
  if (!model) return posixError(model.error());

  WalkBounds bounds(platform.files, platform.log, *path);
  if (stayOnFileSystem) bounds.stayOnFileSystemOf({*opened, "."});
  auto outcome = Propagation(platform, *path, *model, bounds, progress).run(*opened);
  progress.finish();
  return outcome;
}

}  // namespace qrt
