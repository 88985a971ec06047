#include "client/cli/commandline/OperationArguments.h"

#include <algorithm>

namespace qrt {
namespace {

using enum ArgumentForm;
using enum Confirmation;
using enum Occurrence;

constexpr std::string_view sameFileSystem = "Stay on the file system of the folder";

constexpr std::string_view typeCode = "Type code: four characters, for example TEXT, or a number";
constexpr std::string_view creatorCode =
    "Creator code: four characters, for example ttxt, or a number";

constexpr ArgumentDescription noPreserveRoot{preserveRootOption, clientFlag,
                                             "Permit the root folder among the paths"};
constexpr ArgumentDescription noPreserveHome{preserveHomeOption, clientFlag,
                                             "Permit your home folder among the paths"};
constexpr ArgumentDescription noPreserveMounts{preserveMountsOption, clientFlag,
                                               "Permit mount points among the paths"};

// clang-format off
constexpr OperationArguments table[] = {
    {"nop"},
    {"discard-auth"},
    {"delete-files",
     {noPreserveRoot, noPreserveHome, noPreserveMounts,
      {"PATH", path, "Object to delete", oneOrMore}},
     "Delete {PATH*} for good", asked, {}, "deleted"},
    {"prepare-uninstall", {}, "Prepare the removal of the privileged helper"},
    {"perform-uninstall",
     {{"", ownProcess},
      {"EXECUTABLE", path, "Installed program"},
      {"JOB", path, "Installed job description"}},
     "Remove the privileged helper from this system", asked},
    {"modify-systemfile",
     {{"FILE", path, "File to give new contents"},
      {"CONTENTS", fileContents, "File with the new contents; \"-\" is standard input"},
      {"--remove-backup", numberFlag, "Do not keep the old file beside the new one"}},
     "Give {FILE} new contents", asked},
    {"create-fileobject",
     {{"PATH", path, "Object to create"},
      {"TYPE", choice, "What to create: file, executable or folder", once,
       "file=F executable=X folder=D"}},
     "Create {PATH}"},
    {"rename-fileobject",
     {{"PATH", path, "Object to rename"},
      {"NEWPATH", path, "Its new path"}},
     "Rename {PATH} to {NEWPATH}"},
    {"delete-fileobjects",
     {{"--recursive", textFlag, "Delete folders with everything below them"},
      {stopOption, textFlag, "Do not delete the remaining objects after a failure"},
      noPreserveRoot, noPreserveHome, noPreserveMounts,
      {"PATH", path, "Object to delete", oneOrMore}},
     "Delete {PATH*} for good", asked, {}, "deleted"},
    {"delete-foldercontents",
     {noPreserveRoot, noPreserveHome, noPreserveMounts,
      {"FOLDER", path, "Folder to empty; the folder itself stays", oneOrMore}},
     "Delete everything in {FOLDER*} for good", asked, {}, "emptied"},
    {"inspect-fileobject",
     {{"PATH", path, "Object to look for"}},
     "Look for {PATH}"},
    {"touch-fileobject",
     {{"PATH", path, "Object to touch"}},
     "Set the modification time of {PATH}"},
    {"modify-protection",
     {{"PATH", path, "Object to protect or release"},
      {"PROTECTION", onOff, "Whether the object becomes immutable: on or off"},
      {"--recursive", numberFlag, "Include everything below a folder"},
      {"--one-file-system", numberFlag, sameFileSystem}},
     "Set the protection of {PATH*} to {PROTECTION}", none, "immutable flags"},
    {"modify-hfsattr",
     {{"PATH", path, "Object to change"},
      {"TYPE", fourCharacters, typeCode},
      {"CREATOR", fourCharacters, creatorCode},
      {"--hidden", numberFlag, "Hide the object; without it the object is shown"}},
     "Change the HFS attributes of {PATH}"},
    {"create-link",
     {{"PATH", path, "Link to create"},
      {"TARGET", pathWithOption,
       "Target of the link; of a symbolic link, the text that is stored as written", once,
       "--hard"},
      {"--hard", numberFlag, "Create a hard link instead of a symbolic one"}},
     "Create the link {PATH} to {TARGET}"},
    {"search-agedfiles",
     {{"FOLDER", path, "Where to search"},
      {"DAYS", number, "Smallest age of an object in days since its last change"},
      {"--one-file-system", numberFlag, sameFileSystem}},
     "Search {FOLDER} for objects older than {DAYS} days"},
    {"search-filenames",
     {{"FOLDER", path, "Where to search; folders below it are not entered"},
      {"--prefix", text, "How the names begin", optional},
      {"--extension", text, "How the names end, without the dot", optional},
      {"--folders", numberFlag, "Look for folders instead of other objects"}},
     "Search {FOLDER} for names"},
    {"search-patterns",
     {{"FOLDER", path, "Where to search"},
      {"--one-file-system", textFlag, sameFileSystem},
      {"--name", taggedText, "A whole name to look for", any, "0"},
      {"--prefix", taggedText, "How a name begins", any, "1"},
      {"--extension", taggedText, "How a name ends, without the dot", any, "2"}},
     "Search {FOLDER} for names"},
    {"search-fileorphans",
     {{"FOLDER", path, "Where to search"},
      {"--one-file-system", numberFlag, sameFileSystem}},
     "Search {FOLDER} for objects without an owner"},
    {"inspect-storagesize",
     {{"FOLDER", path, "Folder to measure"}},
     "Measure {FOLDER}"},
    {"modify-kernelsetting",
     {{"NAME", text, "Name of the setting, with dots"},
      {"VALUE", number, "Its new value"}},
     "Set the kernel setting {NAME} to {VALUE}"},
    {"modify-nvram",
     {{"NAME", text, "Name of the variable"},
      {"VALUE", text, "Its new value; bytes are written as %0A%FF"}},
     "Set the firmware variable {NAME} to {VALUE}", asked, "firmware variables"},
    {"modify-preferences",
     {{"KEY", text, "Name of the preference"},
      {"DOMAIN", text, "Domain of the application, NSGlobalDomain or kCFPreferencesAnyApplication"},
      {"USER", text, "User name, kCFPreferencesAnyUser or kCFPreferencesCurrentUser"},
      {"HOST", text, "Host, kCFPreferencesAnyHost or kCFPreferencesCurrentHost"},
      {"VALUE", text, "New value as a property list; leave it out to remove the key", optional}},
     "Change the preference {KEY} of {DOMAIN} for {USER}", none,
     {},
     {},
     "On Linux the files are those of GNUstep. Its programs read a user's settings, and in "
     "/etc/GNUstep/GlobalDefaults.plist those of any user for any application. A program reads "
     "/etc/GNUstep/Defaults (any user, one application) and the folders ByHost (one host) only "
     "if it looks there."},
    {"modify-sysconf",
     {{"", constant, "", once, "qrtctl"},
      {"--file", text, "Identifier of the preferences file", optional},
      {"KEY", text, "Name of the setting"},
      {"VALUE", text, "New value as a property list; leave it out to remove the key", optional}},
     "Change the system setting {KEY}"},
    {"signal-process",
     {{"PID", number, "Identifier of the process"},
      {"SIGNAL", signal, "Signal to send: TERM, SIGTERM or its number"}},
     "Send the signal {SIGNAL} to the process {PID}"},
    {"modify-acl",
     {{"PATH", path, "Object to change"},
      {"ACL", accessControlList,
       "The list as the system writes it (\"u:anna:rw,g:staff:r\"), @PATH for that of another "
       "object, or none to remove the list"}},
     "Change the access control list of {PATH}"},
    {"prop-permissions",
     {{"FOLDER", path, "Folder whose permissions are copied to everything below it"},
      {"--expected", count, "Number of objects below it, to compute the progress", optional, "0"},
      {"--one-file-system", numberFlag, sameFileSystem},
      {"--copy", bits,
       "What to copy: acl, the access control list; owner, group, others, the permissions of each "
       "(rwx); user-id, group-id, who owns it; mark-inherited marks the entries of the list",
       any,
       "acl=1 others=2 group=4 owner=8 group-id=16 user-id=32 mark-inherited=64"}},
     "Copy the permissions of {FOLDER*} to everything below it"},
    {"execute-utility",
     {{"", constant, "", once, "qrtctl"},
      {"UTILITY", utility, "Name of the utility"},
      {"ARGUMENT", utilityWord, "Argument of the utility; its paths are absolute", any}},
     "Run {UTILITY} {ARGUMENT}"},
    {"enable-ipvsix",
     {{"", constant, "", once, "qrtctl"},
      {"SERVICE", text, "Identifier of the network service"},
      {"SUPPORT", onOff, "Whether it supports IPv6: on or off"}},
     "Set the IPv6 support of {SERVICE} to {SUPPORT}", none, "IPv6"},
    {"rename-stashfolder",
     {{"FOLDER", path, "Folder to move aside"},
      {"NAME", text, "Its new name, in the same place"},
      {"--substitute", numberFlag, "Put an empty folder of the same kind in its place"}},
     "Move {FOLDER} aside as {NAME}"},
    {"create-installmedia",
     {{"INSTALLER", path, "Installer application"},
      {"VOLUME", path, "Volume that becomes the medium"}},
     "Erase {VOLUME} and make it an install medium", asked, "installer programs"},
    {"erase-diskblocks",
     {{"DEVICE", device, "Name of the device, without its folder"},
      {"COUNT", count, "Number of blocks of 512 bytes"},
      {preserveMountsOption, clientFlag, "Permit a device that is mounted"}},
     "Erase the first {COUNT} blocks of {DEVICE} for good", asked},
    {"write-smcvalue",
     {{"KEY", text, "Key of four characters"},
      {"VALUE", fileContents, "File with the bytes; \"-\" is standard input"}},
     "Write the value {KEY} to the controller of the hardware", asked, "management controller"},
};
// clang-format on

}  // namespace

std::span<const OperationArguments> operationArguments() { return table; }

std::string_view typeLettersOf(ArgumentForm form) {
  switch (form) {
    case path:
    case pathWithOption:
    case text:
    case device:
    case utility:
    case utilityWord:
    case choice:
    case textFlag:
    case constant:
      return "S";
    case taggedText:
      return "SS";
    case number:
    case count:
    case fourCharacters:
    case numberFlag:
    case onOff:
    case signal:
    case bits:
    case ownProcess:
      return "N";
    case fileContents:
    case accessControlList:
      return "D";
    case clientFlag:
      return "";
  }
  return "";
}

std::vector<Choice> choicesOf(const ArgumentDescription& argument) {
  if (argument.form == onOff) return {{"on", "1"}, {"off", "0"}};
  if (argument.form != choice && argument.form != bits) return {};
  std::vector<Choice> choices;
  for (auto rest = argument.detail; !rest.empty();) {
    const auto entry = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
    const auto equals = entry.find('=');
    choices.push_back({entry.substr(0, equals), entry.substr(equals + 1)});
  }
  return choices;
}

bool isOption(const ArgumentDescription& argument) { return argument.name.starts_with("--"); }

bool isRepeatable(const ArgumentDescription& argument) {
  return argument.occurrence == oneOrMore || argument.occurrence == any;
}

bool isPathList(const ArgumentDescription& argument) {
  return argument.form == path && argument.occurrence == oneOrMore;
}

bool takesPathList(const OperationArguments& operation) {
  return std::any_of(operation.arguments.begin(), operation.arguments.end(), isPathList);
}

bool isFlag(ArgumentForm form) {
  return form == textFlag || form == numberFlag || form == clientFlag;
}

bool isImplied(ArgumentForm form) { return form == constant || form == ownProcess; }

}  // namespace qrt
