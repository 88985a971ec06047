#include "operations/QRTPrivilegedOperationSetVK2.h"

namespace qrt {

std::unique_ptr<QRTPrivilegedOperationSet> QRTPrivilegedOperationSetVK2::make(
    Log& log, Authority& authority) {
  return std::make_unique<QRTPrivilegedOperationSetVK2>(log, authority);
}

QRTPrivilegedOperationSetVK2::QRTPrivilegedOperationSetVK2(
    Log& log, Authority& authority, const QRTPrivilegedOperationStaticDescription* catalogue)
    : QRTPrivilegedOperationSet("vk2", "1.6", catalogue, log, authority) {}

}  // namespace qrt
