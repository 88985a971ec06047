// Texts about the daemon of this port for help and manual pages: how it is started and reached, and
// how it asks for rights.
#pragma once

#include <string_view>
#include <vector>

namespace qrt {

struct ManualItem {
  std::string_view term;
  std::string_view meaning;
};

struct ServiceDescription {
  /// The address that the client connects to, and the word for it in a synopsis.
  std::string_view address, addressValue, addressHelp;
  /// Sentences of the client's page: who may run which operation, and the default address.
  std::string_view clientRights, defaultAddress;
  /// What to look at when the daemon does not answer: a sentence.
  std::string_view troubleshooting;
  /// The daemon's page.
  std::string_view synopsis, start, rights, wrongStart;
  std::vector<ManualItem> environment, files;
  /// Pages of the system to see, as "name(section)".
  std::vector<std::string_view> clientSeeAlso, daemonSeeAlso;
};

const ServiceDescription& serviceDescription();

}  // namespace qrt
