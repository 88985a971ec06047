#include "platform/ForeignException.h"

#import <Foundation/Foundation.h>

#include "platform/macos/CFValue.h"

namespace qrt {

ForeignException handledForeignException() {
  @try {
    throw;
  } @catch (NSException* exception) {
    return {textFrom((__bridge CFStringRef)exception.name),
            textFrom((__bridge CFStringRef)exception.reason)};
  } @catch (...) {
    return {};
  }
}

}  // namespace qrt
