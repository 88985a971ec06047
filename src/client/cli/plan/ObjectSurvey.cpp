#include "client/cli/plan/ObjectSurvey.h"

#include <fmt/format.h>

#include <utility>

#include "base/Path.h"
#include "base/Printable.h"
#include "platform/AccessControl.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Volumes.h"

namespace qrt {
namespace {

using Presence = SurveyedObject::Presence;
using TimePoint = std::chrono::steady_clock::time_point;

bool isAbsence(PosixCode code) {
  return code == PosixCode::noEntry || code == PosixCode::notDirectory;
}

class Survey {
 public:
  Survey(const Platform& platform, const std::string& path, const ObjectEffect& effect)
      : platform_(platform), effect_(effect), object_{path, effect} {}

  SurveyedObject run(TimePoint deadline) {
    const auto location = platform_.files.locate(object_.path);
    if (location) {
      lookAt(*location, deadline);
    } else {
      miss(location.error());
      if (isWanted()) fail("has no folder to be in", true);
    }
    nameProtection();
    return std::move(object_);
  }

 private:
  /// Whether the operation makes the object.
  bool isWanted() const {
    return effect_.expected == Expected::nothing && object_.presence == Presence::missing;
  }

  void lookAt(const Location& location, TimePoint deadline) {
    const auto held = platform_.files.hold(location.at(), effect_.links);
    const auto status = held ? held->status() : held.error();
    if (status) {
      meet(*held, *status, deadline);
    } else {
      miss(status.error());
    }
    if (isWanted() || object_.presence != Presence::missing) lookAtHolder(location);
  }

  void fail(std::string_view what, bool isMissing = false) {
    if (object_.obstacle) return;
    object_.obstacle = {fmt::format("{} {}", printable(object_.path), what), isMissing};
  }

  void miss(PosixCode code) {
    if (!isAbsence(code)) {
      object_.presence = Presence::hidden;
    } else if (!isWanted() && effect_.whenMissing != WhenMissing::accepted) {
      const bool isPathGood = code == PosixCode::noEntry;
      fail("does not exist", isPathGood && effect_.whenMissing == WhenMissing::notFound);
    }
  }

  void meet(const HeldObject& held, const FileStatus& status, TimePoint deadline) {
    object_.presence = Presence::present;
    object_.type = status.type();
    object_.size = status.size;
    if (effect_.expected == Expected::nothing) return fail("exists already");
    if (effect_.expected == Expected::folder && !status.isFolder()) return fail("is not a folder");
    if (effect_.expected == Expected::otherThanFolder && status.isFolder()) {
      return fail("is a folder");
    }
    if (effect_.isChange) look(held, status, effect_.own, object_.path);
    if (held.isReadOnly() && effect_.isChange) {
      addReadOnlyMount(object_.path);
    }
    // An emptied folder itself stays.
    const bool staysItself = effect_.holder.stopping == 0;
    if (status.isMountRoot && effect_.removes && !staysItself) {
      object_.protections.add(mountPointName, Consequence::stops, object_.path);
    }
    if (status.isFolder()) lookBelow(held, deadline);
  }

  void look(const HeldObject& held, const FileStatus& status, const FlagRule& rule,
            const std::string& path) {
    object_.protections.addFlags(status, rule, path);
    if (status.isLink()) return;
    const auto list = platform_.accessControl.list(held);
    if (list && *list) {
      object_.protections.add(accessControlListName, Consequence::harmless, path);
    }
  }

  void lookBelow(const HeldObject& held, TimePoint deadline) {
    if (effect_.reach == Reach::emptyObject) {
      auto folder = platform_.files.openFolder(held);
      if (!folder) return;
      const auto entry = folder->next();
      if (entry && *entry) fail("is not empty");
    }
    if (effect_.reach != Reach::everythingBelow) return;
    const auto visitor = [this](FileAt object, const FileStatus& status,
                                const std::string& itsFolder) {
      lookAtInner(object, status, path::below(itsFolder, object.name));
    };
    object_.below = countObjects(platform_.files, folderPath(), deadline,
                                 effect_.isChange ? CountVisitor(visitor) : CountVisitor());
  }

  /// A count follows no link.
  std::string folderPath() const {
    const auto own = platform_.files.status(object_.path.c_str(), Links::stay);
    if (!own || !own->isLink()) return object_.path;
    const auto resolved = platform_.files.resolvedPath(object_.path);
    return resolved ? *resolved : object_.path;
  }

  void lookAtInner(FileAt object, const FileStatus& status, const std::string& path) {
    if (status.isMountRoot && effect_.removes) {
      object_.protections.add(mountPointName, Consequence::stops, path);
    }
    const auto held = platform_.files.hold(object, Links::stay);
    if (!held) return object_.protections.addFlags(status, effect_.below, path);
    look(*held, status, effect_.below, path);
    if (status.isMountRoot && held->isReadOnly()) addReadOnlyMount(path);
  }

  void addReadOnlyMount(const std::string& path) {
    const auto place = platform_.volumes.mountPoint(path);
    object_.protections.add(readOnlyMountName, Consequence::stops, place ? *place : path);
  }

  /// The folder whose entry the object is or will be.
  void lookAtHolder(const Location& location) {
    if (effect_.holder.stopping == 0 || location.isItself()) return;
    const std::string folder(path::withoutLastComponent(object_.path));
    const auto status = platform_.files.status({location.parent, "."}, Links::stay);
    if (status && (status->flags & effect_.holder.stopping) != 0) {
      object_.protections.addFlags(*status, effect_.holder, folder);
    }
    const bool isKnown = object_.presence == Presence::present;
    if (!isKnown && location.parent.isReadOnly()) addReadOnlyMount(folder);
  }

  void nameProtection() {
    const auto* const stopping = object_.protections.obstacle();
    if (!stopping || object_.obstacle) return;
    object_.obstacle = {fmt::format("{} at {}", stopping->name, printable(stopping->example)),
                        false};
  }

  const Platform& platform_;
  const ObjectEffect& effect_;
  SurveyedObject object_;
};

}  // namespace

SurveyedObject surveyObject(const Platform& platform, const std::string& path,
                            const ObjectEffect& effect, TimePoint deadline) {
  return Survey(platform, path, effect).run(deadline);
}

}  // namespace qrt
