#include "filesystem/FileSystemOperations.h"

#include "filesystem/DeletionOperations.h"
#include "operations/NSProcessInfoQRTAdditions.h"

namespace qrt::FileSystemOperations {
namespace {

using DeletionHandler = Outcome (*)(const DeletionContext&, const Array&, FeedbackConnection*);

Handler withDeletionContext(DeletionHandler handler, const Platform& platform) {
  return [handler, &platform](const Array& arguments, FeedbackConnection* feedback) {
    const DeletionContext context{platform.files,
                                  NSProcessInfoQRTAdditions::operatingSystemVersionCode(platform)};
    return handler(context, arguments, feedback);
  };
}

}  // namespace

void registerHandlers(HandlerTable& table, const Platform& platform) {
  using namespace DeletionOperations;
  table.add("performOperationDeleteFileobjectsWithArguments:feedbackConnection:",
            withDeletionContext(performOperationDeleteFileobjectsWithArguments, platform));
  table.add("performOperationDeleteFoldercontentsWithArguments:feedbackConnection:",
            withDeletionContext(performOperationDeleteFoldercontentsWithArguments, platform));
}

}  // namespace qrt::FileSystemOperations
