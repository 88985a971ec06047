#include "operations/OperationSetFactories.h"

#include "operations/QRTPrivilegedOperationSetVK2.h"

namespace qrt {
namespace {

struct NamedFactory {
  std::string_view className;
  QRTPrivilegedOperationSet::Factory factory;
};

constexpr NamedFactory factories[] = {
    {"QRTPrivilegedOperationSetVK2", QRTPrivilegedOperationSetVK2::make},
};

}  // namespace

QRTPrivilegedOperationSet::Factory operationSetFactoryForClass(std::string_view className) {
  for (const auto& candidate : factories) {
    if (candidate.className == className) return candidate.factory;
  }
  return nullptr;
}

}  // namespace qrt
