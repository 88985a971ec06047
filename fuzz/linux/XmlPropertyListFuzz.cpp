#include "PropertyListRoundTrip.h"
#include "platform/posix/propertylists/XmlPropertyListReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  for (const auto encoding : {qrt::XmlEncoding::declared, qrt::XmlEncoding::utf8}) {
    qrt::checkRoundTrip(qrt::readXmlPropertyList(text, encoding));
  }
  return 0;
}
