// How the daemon of this port is started, reached and asked, in words for help texts and manual
// pages.
#pragma once

#include <string_view>
#include <vector>

namespace qrt {

struct ManualItem {
  std::string_view term;
  std::string_view meaning;
};

struct ServiceDescription {
  /// What the client connects to, and the word for it in a synopsis.
  std::string_view address, addressValue, addressHelp;
  /// Sentences of the client's page: who may do what, and where the daemon is found by default.
  std::string_view clientRights, defaultAddress;
  /// The daemon's page.
  std::string_view synopsis, start, rights, wrongStart;
  std::vector<ManualItem> environment, files;
  /// Pages of the system to see, as "name(section)".
  std::vector<std::string_view> clientSeeAlso, daemonSeeAlso;
};

const ServiceDescription& serviceDescription();

}  // namespace qrt
