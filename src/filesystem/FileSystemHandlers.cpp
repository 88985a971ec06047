#include "filesystem/FileSystemHandlers.h"

#include "filesystem/DeletionOperations.h"
#include "filesystem/FileObjectOperations.h"
#include "filesystem/PermissionOperations.h"
#include "filesystem/SearchOperations.h"
#include "filesystem/SystemFileOperations.h"
#include "filesystem/objects/QRTFolderStashAdditions.h"
#include "operations/NSProcessInfoQRTAdditions.h"

namespace qrt {
namespace {

using DeletionHandler = Outcome (*)(const DeletionContext&, const Array&, FeedbackConnection*);

Handler withDeletionContext(DeletionHandler handler) {
  return [handler](const Platform& platform, const Array& arguments, FeedbackConnection* feedback) {
    const DeletionContext context{platform.files,
                                  NSProcessInfoQRTAdditions::operatingSystemVersionCode(platform)};
    return handler(context, arguments, feedback);
  };
}

using ItemHandler = Outcome (*)(const ItemContext&, const Array&);

Handler withItemContext(ItemHandler handler) {
  return [handler](const Platform& platform, const Array& arguments, FeedbackConnection*) {
    return handler(ItemContext(platform), arguments);
  };
}

struct ItemOperation {
  const char* handlerName;
  ItemHandler handler;
};

constexpr ItemOperation itemOperations[] = {
    {"performOperationModifySystemfileWithArguments:",
     SystemFileOperations::performOperationModifySystemfileWithArguments},
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
    {"performOperationRenameStashfolderWithArguments:",
     QRTFolderStashAdditions::performOperationRenameStashfolderWithArguments},
};

using SearchHandler = Outcome (*)(const SearchContext&, const Array&, FeedbackConnection*);

Handler withSearchContext(SearchHandler handler) {
  return [handler](const Platform& platform, const Array& arguments, FeedbackConnection* feedback) {
    return handler({platform.files, platform.log, platform.users}, arguments, feedback);
  };
}

struct SearchOperation {
  const char* handlerName;
  SearchHandler handler;
};

constexpr SearchOperation searchOperations[] = {
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

void registerFileSystemHandlers(HandlerTable& table) {
  using namespace DeletionOperations;
  table.add("performOperationDeleteFileobjectsWithArguments:feedbackConnection:",
            withDeletionContext(performOperationDeleteFileobjectsWithArguments));
  table.add("performOperationDeleteFoldercontentsWithArguments:feedbackConnection:",
            withDeletionContext(performOperationDeleteFoldercontentsWithArguments));
  for (const auto& operation : itemOperations) {
    table.add(operation.handlerName, withItemContext(operation.handler));
  }
  table.add("performOperationPropPermissionsWithArguments:feedbackConnection:",
            [](const Platform& platform, const Array& arguments, FeedbackConnection* feedback) {
              return PermissionOperations::performOperationPropPermissionsWithArguments(
                  ItemContext(platform), platform.log, arguments, feedback);
            });
  for (const auto& operation : searchOperations) {
    table.add(operation.handlerName, withSearchContext(operation.handler));
  }
}

}  // namespace qrt
