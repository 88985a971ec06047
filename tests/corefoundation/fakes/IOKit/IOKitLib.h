// A registry with one driver, "AppleSMC", and one entry of options.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <cstring>
#include <string>

using kern_return_t = int;
using mach_port_t = unsigned;
using io_object_t = unsigned;
using io_connect_t = unsigned;

constexpr kern_return_t kIOReturnSuccess = 0;
constexpr mach_port_t MACH_PORT_NULL = 0, kIOMasterPortDefault = 0, IO_OBJECT_NULL = 0;
#define kIODeviceTreePlane "IODeviceTree"

struct FakeRegistry {
  /// What each call for an object or a connection answers but success.
  kern_return_t code = kIOReturnSuccess;
  bool hasDriver = true;
  /// Null when there is no such entry.
  CFMutableDictionaryRef options = nullptr;
  /// Ports, objects and connections that were handed out and not given back.
  int held = 0;
  /// o, x, c: the driver's client is opened, exchanges records, is closed.
  std::string calls;
};
inline FakeRegistry fakeRegistry;

inline io_object_t fakeHandle(bool exists = true) {
  fakeRegistry.held += exists;
  return exists ? 7 : IO_OBJECT_NULL;
}
inline kern_return_t IOMasterPort(mach_port_t, mach_port_t* port) {
  *port = fakeHandle();
  return kIOReturnSuccess;
}
inline kern_return_t IOObjectRelease(io_object_t) { return --fakeRegistry.held, kIOReturnSuccess; }
inline kern_return_t IOServiceClose(io_connect_t) { return --fakeRegistry.held, kIOReturnSuccess; }

inline CFMutableDictionaryRef IOServiceMatching(const char* name) {
  return std::string(name) == "AppleSMC" ? CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr)
                                         : nullptr;
}
inline kern_return_t IOServiceGetMatchingServices(mach_port_t, CFDictionaryRef matching,
                                                  io_object_t* iterator) {
  CFRelease(matching);
  if (fakeRegistry.code == kIOReturnSuccess) *iterator = fakeHandle();
  return fakeRegistry.code;
}
inline io_object_t IOIteratorNext(io_object_t) { return fakeHandle(fakeRegistry.hasDriver); }
inline kern_return_t IOServiceOpen(io_object_t, unsigned, unsigned type, io_connect_t* connection) {
  *connection = fakeHandle();
  return type == 1 ? kIOReturnSuccess : -1;
}
inline kern_return_t IOConnectCallScalarMethod(io_connect_t, unsigned selector, const void*,
                                               unsigned, void*, unsigned*) {
  fakeRegistry.calls += selector == 0 ? "o" : "c";
  return kIOReturnSuccess;
}
/// Answers what it was asked.
inline kern_return_t IOConnectCallStructMethod(io_connect_t, unsigned selector, const void* input,
                                               std::size_t size, void* output,
                                               std::size_t* outputSize) {
  fakeRegistry.calls += selector == 2 && size == 80 && *outputSize == 80 ? "x" : "?";
  std::memcpy(output, input, size);
  return kIOReturnSuccess;
}

inline io_object_t IORegistryEntryFromPath(mach_port_t, const char* path) {
  return fakeHandle(fakeRegistry.options && std::string(path) == "IODeviceTree:/options");
}
inline CFTypeRef IORegistryEntryCreateCFProperty(io_object_t, CFStringRef key, CFAllocatorRef,
                                                 unsigned) {
  const auto value = CFDictionaryGetValue(fakeRegistry.options, key);
  return value ? CFRetain(value) : nullptr;
}
inline kern_return_t IORegistryEntrySetCFProperty(io_object_t, CFStringRef key, CFTypeRef value) {
  CFDictionarySetValue(fakeRegistry.options, key, value);
  return fakeRegistry.code;
}
