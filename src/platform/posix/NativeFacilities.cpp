#include "platform/posix/NativeFacilities.h"

#include "platform/NativePlatform.h"

namespace qrt {

struct NativePlatform::Facilities {
  explicit Facilities(const std::string& root)
      : owned(makeNativeFacilities(root)),
        references{.root = root,
                   .log = *owned.log,
                   .self = *owned.self,
                   .files = *owned.files,
                   .extendedAttributes = *owned.extendedAttributes,
                   .accessControl = *owned.accessControl,
                   .processes = *owned.processes,
                   .users = *owned.users,
                   .kernelSettings = *owned.kernelSettings,
                   .jobControl = *owned.jobControl,
                   .preferences = *owned.preferences,
                   .systemConfiguration = *owned.systemConfiguration,
                   .authority = *owned.authority,
                   .transport = *owned.transport,
                   .helperConnector = *owned.helperConnector,
                   .smc = *owned.smc,
                   .nvram = *owned.nvram,
                   .applications = *owned.applications,
                   .codeSigning = *owned.codeSigning,
                   .volumes = *owned.volumes,
                   .workers = {workers},
                   .stop = StopRequest::never()} {}

  const NativeFacilities owned;
  WorkerPool workers;
  const Platform references;
};

NativePlatform::NativePlatform(const std::string& root)
    : owned_(std::make_unique<Facilities>(root)) {}

NativePlatform::~NativePlatform() = default;

const Platform& NativePlatform::facilities() const { return owned_->references; }

}  // namespace qrt
