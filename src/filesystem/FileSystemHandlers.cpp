#include "filesystem/FileSystemHandlers.h"

#include "filesystem/DeletionOperations.h"
#include "filesystem/FileObjectOperations.h"
#include "filesystem/PermissionOperations.h"
#include "filesystem/SearchOperations.h"
#include "filesystem/SystemFileOperations.h"
#include "filesystem/objects/QRTFolderStashAdditions.h"

namespace qrt {
namespace {

constexpr NamedHandler fileSystemHandlers[] = {
    {"performOperationModifySystemfileWithArguments:",
     SystemFileOperations::performOperationModifySystemfileWithArguments},
    {"performOperationDeleteFileobjectsWithArguments:feedbackConnection:",
     DeletionOperations::performOperationDeleteFileobjectsWithArguments},
    {"performOperationDeleteFoldercontentsWithArguments:feedbackConnection:",
     DeletionOperations::performOperationDeleteFoldercontentsWithArguments},
    {"performOperationCreateFileobjectWithArguments:",
     FileObjectOperations::performOperationCreateFileobjectWithArguments},
    {"performOperationRenameFileobjectWithArguments:",
     FileObjectOperations::performOperationRenameFileobjectWithArguments},
    {"performOperationInspectFileobjectWithArguments:",
     FileObjectOperations::performOperationInspectFileobjectWithArguments},
    {"performOperationTouchFileobjectWithArguments:",
     FileObjectOperations::performOperationTouchFileobjectWithArguments},
    {"performOperationModifyProtectionWithArguments:",
     FileObjectOperations::performOperationModifyProtectionWithArguments},
    {"performOperationModifyHfsattrWithArguments:",
     FileObjectOperations::performOperationModifyHfsattrWithArguments},
    {"performOperationCreateLinkWithArguments:",
     FileObjectOperations::performOperationCreateLinkWithArguments},
    {"performOperationModifyAclWithArguments:",
     PermissionOperations::performOperationModifyAclWithArguments},
    {"performOperationPropPermissionsWithArguments:feedbackConnection:",
     PermissionOperations::performOperationPropPermissionsWithArguments},
    {"performOperationRenameStashfolderWithArguments:",
     QRTFolderStashAdditions::performOperationRenameStashfolderWithArguments},
    {"performOperationSearchAgedfilesWithArguments:feedbackConnection:",
     SearchOperations::performOperationSearchAgedfilesWithArguments},
    {"performOperationSearchFilenamesWithArguments:feedbackConnection:",
     SearchOperations::performOperationSearchFilenamesWithArguments},
    {"performOperationSearchPatternsWithArguments:feedbackConnection:",
     SearchOperations::performOperationSearchPatternsWithArguments},
    {"performOperationSearchFileorphansWithArguments:feedbackConnection:",
     SearchOperations::performOperationSearchFileorphansWithArguments},
    {"performOperationInspectStoragesizeWithArguments:",
     SearchOperations::performOperationInspectStoragesizeWithArguments},
};

}  // namespace

void registerFileSystemHandlers(HandlerTable& table) { table.add(fileSystemHandlers); }

}  // namespace qrt
