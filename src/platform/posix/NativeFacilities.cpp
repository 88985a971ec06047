#include "platform/posix/NativeFacilities.h"

#include "platform/NativePlatform.h"

namespace qrt {

struct NativePlatform::Facilities {
  explicit Facilities(NativeFacilities facilities)
      : owned(std::move(facilities)),
        references{.log = *owned.log,
                   .self = *owned.self,
                   .files = *owned.files,
                   .extendedAttributes = *owned.extendedAttributes,
                   .accessControl = *owned.accessControl,
                   .propertyLists = *owned.propertyLists,
                   .versionFile = *owned.versionFile,
                   .processes = *owned.processes,
                   .users = *owned.users,
                   .kernelSettings = *owned.kernelSettings,
                   .subprocesses = *owned.subprocesses,
                   .jobControl = *owned.jobControl,
                   .preferences = *owned.preferences,
                   .systemConfiguration = *owned.systemConfiguration,
                   .authority = *owned.authority,
                   .transport = *owned.transport,
                   .helperConnector = *owned.helperConnector,
                   .smc = *owned.smc,
                   .nvram = *owned.nvram,
                   .blockDevices = *owned.blockDevices,
                   .applications = *owned.applications,
                   .codeSigning = *owned.codeSigning,
                   .volumes = *owned.volumes} {}

  const NativeFacilities owned;
  const Platform references;
};

NativePlatform::NativePlatform(const std::string& root)
    : owned_(std::make_unique<Facilities>(makeNativeFacilities(root))) {}

NativePlatform::~NativePlatform() = default;

const Platform& NativePlatform::facilities() const { return owned_->references; }

}  // namespace qrt
