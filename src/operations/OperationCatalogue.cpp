#include "operations/OperationCatalogue.h"

namespace qrt {
namespace {

using namespace authentication_policy;

constexpr QRTPrivilegedOperationStaticDescription::Capabilities plain;
constexpr QRTPrivilegedOperationStaticDescription::Capabilities progress{.progressFeedback = true};
constexpr QRTPrivilegedOperationStaticDescription::Capabilities liveOutput{.liveOutput = true};
constexpr auto any = NSNotFound;

}  // namespace

// clang-format off
constexpr QRTPrivilegedOperationStaticDescription privilegedOperationCatalogue[] = {
    {operation_code::nop, "nop", allow, plain, 0, nullptr,
     "Corvexa likes to perform an empty operation to contact its privileged component."},
    {operation_code::discardAuth, "discard-auth", allow, plain, 0, nullptr,
     "Corvexa likes to enforce that future privileged commands require new authorization."},
    {operation_code::deleteFiles, "delete-files", defaultRule, plain, any, nullptr,
     "Corvexa likes to delete files of the privileged auxiliary program."},
    {operation_code::prepareUninstall, "prepare-uninstall", defaultRule, plain, 0, nullptr,
     "Corvexa likes to prepare the privileged auxiliary program for removal."},
    {operation_code::performUninstall, "perform-uninstall", defaultRule, plain, 3, "NSS",
     "Corvexa likes to uninstall the privileged auxiliary program."},
    {0, "modify-systemfile", defaultRule, plain, 3, "SDN",
     "Corvexa likes to modify a file owned by the operating system."},
    {1, "create-fileobject", defaultRule, plain, 2, "SS",
     "Corvexa likes to create a file system object in a possibly protected folder."},
    {2, "rename-fileobject", defaultRule, plain, 2, "SS",
     "Corvexa likes to rename a file system object in a possibly protected folder."},
    {3, "delete-fileobjects", defaultRule, progress, any, nullptr,
     "Corvexa likes to delete file system objects independent of their permission settings."},
    {4, "delete-foldercontents", defaultRule, progress, any, nullptr,
     "Corvexa likes to delete the contents of one or more folders."},
    {5, "inspect-fileobject", defaultRule, plain, 1, "S",
     "Corvexa likes to check whether a file is present in a possibly protected folder."},
    {6, "touch-fileobject", defaultRule, plain, 1, "S",
     "Corvexa likes to set the modification time of a file in a possibly protected folder."},
    {7, "modify-protection", defaultRule, plain, 4, "SNNN",
     "Corvexa likes to modify the protection setting of a file system object."},
    {8, "modify-hfsattr", defaultRule, plain, 4, "SNNN",
     "Corvexa likes to modify the classic HFS attributes of a file system object."},
    {9, "create-link", defaultRule, plain, 3, "SSN",
     "Corvexa likes to create a file system link in a possibly protected folder."},
    {10, "search-agedfiles", defaultRule, progress, 3, "SNN",
     "Corvexa likes to search for files of a certain age in a possibly protected folder."},
    {11, "search-filenames", defaultRule, progress, 4, "SSSN",
     "Corvexa likes to search for files with a name pattern in a possible protected folder."},
    {12, "search-patterns", defaultRule, progress, any, nullptr,
     "Corvexa likes to search for files that match certain name patterns."},
    {13, "search-fileorphans", defaultRule, progress, 2, "SN",
     "Corvexa likes to search for file system objects which have unknown owners."},
    {14, "inspect-storagesize", defaultRule, plain, 1, "S",
     "Corvexa likes to determine the storage size of a hierarchy of possible protected folders."},
    {15, "modify-kernelsetting", defaultRule, plain, 2, "SN",
     "Corvexa likes to change a setting in the running operating system kernel."},
    {16, "modify-nvram", defaultRule, plain, 2, "SS",
     "Corvexa likes to change a setting in non-volatile memory."},
    {17, "modify-preferences", defaultRule, plain, 5, "SSSSS",
     "Corvexa likes to change a preference value affecting a different user or all users."},
    {18, "modify-sysconf", defaultRule, plain, 4, "SSSS",
     "Corvexa likes to change a system configuration setting."},
    {19, "signal-process", defaultRule, plain, 2, "NN",
     "Corvexa likes to send a signal to a running process."},
    {20, "modify-acl", defaultRule, plain, 2, "SD",
     "Corvexa likes to change the Access Control List for a file system object."},
    {21, "prop-permissions", defaultRule, progress, 4, "SNNN",
     "Corvexa likes to propagate permission settings for a hierarchy of files and folders."},
    {22, "execute-utility", defaultRule, liveOutput, any, nullptr,
     "Corvexa likes to run a utility program of the operating system."},
    {23, "enable-ipvsix", defaultRule, plain, 3, "SSN",
     "Corvexa likes to control IPv6 support of a network interface."},
    {24, "rename-stashfolder", defaultRule, plain, 3, "SSN",
     "Corvexa likes to move a possibly protected folder."},
    {25, "create-installmedia", defaultRule, liveOutput, 2, "SS",
     "Corvexa likes to let an Apple OS installer create install media."},
    {26, "erase-diskblocks", defaultRule, plain, 2, "SN",
     "Corvexa likes to erase blocks of a physical storage device."},
    {27, "write-smcvalue", defaultRule, plain, 2, "SD",
     "Corvexa likes to modify a value of the System Management Controller."},
    {endOfCatalogue, nullptr, allow, plain, 0, nullptr, nullptr},
};
// clang-format on

std::string sentenceOf(std::string_view userPresentation) {
  constexpr std::string_view wish = " likes to ";
  const auto at = userPresentation.find(wish);
  if (at == std::string_view::npos) return std::string(userPresentation);
  std::string sentence(userPresentation.substr(at + wish.size()));
  if (!sentence.empty() && sentence[0] >= 'a' && sentence[0] <= 'z') sentence[0] += 'A' - 'a';
  return sentence;
}

}  // namespace qrt
