#include "client/cli/plan/ObjectEffects.h"

#include <algorithm>
#include <array>

#include "platform/FileStatus.h"

namespace qrt {
namespace {

using namespace file_flag;

/// An object with one of these keeps its contents, attributes and name.
constexpr std::uint32_t fixing = userProtection | systemProtection | restricted;
/// A folder with one of these gets no new entries.
constexpr std::uint32_t closing = userImmutable | systemImmutable | restricted;

constexpr FlagRule refusedIfFixed{.stopping = fixing};
constexpr FlagRule refusedIfClosed{.stopping = closing};
constexpr FlagRule clearedAlone{userProtection, refusingChanges};
constexpr FlagRule clearedInTrees{userImmutable, userAppendOnly | refusingChanges};

constexpr ObjectEffect lookedFor{.text = "looked for", .whenMissing = WhenMissing::accepted};
constexpr ObjectEffect listed{.text = "searched", .expected = Expected::folder};
constexpr ObjectEffect searched{.text = "searched with everything below it",
                                .expected = Expected::folder,
                                .reach = Reach::everythingBelow};
constexpr ObjectEffect measured{.text = "measured with everything below it",
                                .expected = Expected::folder,
                                .reach = Reach::everythingBelow};
constexpr ObjectEffect read{.text = "read", .whenMissing = WhenMissing::failed};
constexpr ObjectEffect run{.text = "run as root",
                           .expected = Expected::otherThanFolder,
                           .whenMissing = WhenMissing::failed};

constexpr ObjectEffect created{.text = "created",
                               .expected = Expected::nothing,
                               .links = Links::stay,
                               .isChange = true,
                               .holder = refusedIfClosed};
constexpr ObjectEffect newName{.text = "the new name of the object",
                               .expected = Expected::nothing,
                               .links = Links::stay,
                               .isChange = true,
                               .holder = refusedIfClosed};
constexpr ObjectEffect linked{
    .text = "given a second name", .links = Links::stay, .isChange = true, .own = refusedIfFixed};

constexpr ObjectEffect touched{.text = "given the current time as modification time",
                               .isChange = true,
                               .own = refusedIfClosed};
constexpr ObjectEffect changed{
    .text = "given new attributes", .isChange = true, .own = refusedIfFixed};
constexpr ObjectEffect relisted{
    .text = "given the access control list", .isChange = true, .own = refusedIfFixed};
constexpr ObjectEffect flagged{
    .text = "given the protection", .isChange = true, .own = {.stopping = refusingChanges}};
constexpr ObjectEffect flaggedDeep{.text = "given the protection, with everything below it",
                                   .reach = Reach::everythingBelow,
                                   .isChange = true,
                                   .own = {.stopping = refusingChanges},
                                   .below = {.stopping = refusingChanges}};
constexpr ObjectEffect model{.text = "the model for everything below it",
                             .expected = Expected::folder,
                             .reach = Reach::everythingBelow,
                             .isChange = true,
                             .below = {.doubtful = fixing}};
constexpr ObjectEffect rewritten{.text = "replaced by a file with the new contents",
                                 .expected = Expected::otherThanFolder,
                                 .isChange = true,
                                 .own = refusedIfFixed,
                                 .holder = refusedIfFixed};

constexpr ObjectEffect deleted{.text = "deleted",
                               .links = Links::stay,
                               .reach = Reach::emptyObject,
                               .isChange = true,
                               .removes = true,
                               .own = clearedAlone,
                               .holder = refusedIfFixed};
constexpr ObjectEffect deletedDeep{.text = "deleted with everything below it",
                                   .whenMissing = WhenMissing::accepted,
                                   .links = Links::stay,
                                   .reach = Reach::everythingBelow,
                                   .isChange = true,
                                   .removes = true,
                                   .own = clearedInTrees,
                                   .below = clearedInTrees,
                                   .holder = refusedIfFixed};
constexpr ObjectEffect emptied{.text = "emptied",
                               .expected = Expected::folder,
                               .whenMissing = WhenMissing::accepted,
                               .reach = Reach::everythingBelow,
                               .isChange = true,
                               .removes = true,
                               .own = refusedIfFixed,
                               .below = clearedInTrees};
constexpr ObjectEffect renamed{.text = "renamed",
                               .links = Links::stay,
                               .isChange = true,
                               .removes = true,
                               .own = {.stopping = fixing | noUnlink},
                               .holder = refusedIfFixed};
constexpr ObjectEffect movedAside{.text = "moved aside",
                                  .expected = Expected::folder,
                                  .whenMissing = WhenMissing::failed,
                                  .isChange = true,
                                  .removes = true,
                                  .own = {.stopping = fixing | noUnlink},
                                  .holder = refusedIfFixed};
constexpr ObjectEffect erasedVolume{.text = "erased",
                                    .expected = Expected::folder,
                                    .whenMissing = WhenMissing::failed,
                                    .reach = Reach::everythingBelow,
                                    .isChange = true};
/// The flags and the mount of a device's name say nothing about the device.
constexpr ObjectEffect erasedDevice{.text = "erased from its beginning",
                                    .expected = Expected::otherThanFolder};

struct Row {
  std::string_view operation;
  /// Those after the last one are empty.
  std::array<ObjectRole, 2> roles;
};

constexpr Row table[] = {
    {"delete-files", {{{"PATH", &deleted}}}},
    {"perform-uninstall", {{{"EXECUTABLE", &deleted}, {"JOB", &deleted}}}},
    {"modify-systemfile", {{{"FILE", &rewritten}}}},
    {"create-fileobject", {{{"PATH", &created}}}},
    {"rename-fileobject", {{{"PATH", &renamed}, {"NEWPATH", &newName}}}},
    {"delete-fileobjects", {{{"PATH", &deleted, "--recursive", &deletedDeep}}}},
    {"delete-foldercontents", {{{"FOLDER", &emptied}}}},
    {"inspect-fileobject", {{{"PATH", &lookedFor}}}},
    {"touch-fileobject", {{{"PATH", &touched}}}},
    {"modify-protection", {{{"PATH", &flagged, "--recursive", &flaggedDeep}}}},
    {"modify-hfsattr", {{{"PATH", &changed}}}},
    {"create-link", {{{"PATH", &created}, {"TARGET", nullptr, "--hard", &linked}}}},
    {"search-agedfiles", {{{"FOLDER", &searched}}}},
    {"search-filenames", {{{"FOLDER", &listed}}}},
    {"search-patterns", {{{"FOLDER", &searched}}}},
    {"search-fileorphans", {{{"FOLDER", &searched}}}},
    {"inspect-storagesize", {{{"FOLDER", &measured}}}},
    {"modify-acl", {{{"PATH", &relisted}}}},
    {"prop-permissions", {{{"FOLDER", &model}}}},
    {"execute-utility", {{{"UTILITY", &run}}}},
    {"rename-stashfolder", {{{"FOLDER", &movedAside}}}},
    {"create-installmedia", {{{"INSTALLER", &read}, {"VOLUME", &erasedVolume}}}},
    {"erase-diskblocks", {{{"DEVICE", &erasedDevice}}}},
};

}  // namespace

std::span<const ObjectRole> objectRoles(std::string_view operation) {
  const auto* const row = std::find_if(std::begin(table), std::end(table),
                                       [&](const Row& one) { return one.operation == operation; });
  if (row == std::end(table)) return {};
  const auto& roles = row->roles;
  return std::span(roles).first(roles[1].argument.empty() ? 1 : 2);
}

}  // namespace qrt
