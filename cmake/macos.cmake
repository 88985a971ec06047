# x86_64 Mach-O for macOS 10.13 or later. On a Mac Apple's own tools build it; anywhere else clang, lld and LLVM's
# binary tools do, and CMAKE_OSX_SYSROOT names the folder of an SDK.
set(CMAKE_OSX_ARCHITECTURES x86_64)
set(CMAKE_OSX_DEPLOYMENT_TARGET 10.13)
if(CMAKE_HOST_APPLE)
  return()
endif()

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
if(NOT IS_DIRECTORY "${CMAKE_OSX_SYSROOT}/System/Library/Frameworks")
  message(FATAL_ERROR "Pass the folder of a macOS SDK as CMAKE_OSX_SYSROOT.")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_OSX_SYSROOT)

set(target x86_64-apple-macos${CMAKE_OSX_DEPLOYMENT_TARGET})
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET ${target})
endforeach()
find_program(CMAKE_C_COMPILER clang REQUIRED)
find_program(CMAKE_CXX_COMPILER clang++ REQUIRED)
set(CMAKE_OBJCXX_COMPILER ${CMAKE_CXX_COMPILER})
# The standard library's headers are the SDK's, whatever this system has of its own.
set(CMAKE_CXX_FLAGS_INIT "-stdlib=libc++ -stdlib++-isystem ${CMAKE_OSX_SYSROOT}/usr/include/c++/v1")
set(CMAKE_OBJCXX_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")
# The driver writes the linker's command line for a version that lld understands.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -mlinker-version=609 -Wl,-dead_strip_dylibs")
# An SDK that was cut down for other linkers has lost the lists of what its libraries pass on from others. Named here,
# what is needed of these is found in any.
set(umbrella ${CMAKE_OSX_SYSROOT}/System/Library/Frameworks/CoreServices.framework)
string(CONCAT CMAKE_CXX_STANDARD_LIBRARIES "-lobjc -framework CoreFoundation -F${umbrella}/Frameworks "
              "-framework LaunchServices -framework Metadata -framework OSServices")

foreach(tool ar ranlib otool install-name-tool)
  string(REPLACE - _ variable ${tool})
  string(TOUPPER CMAKE_${variable} variable)
  find_program(${variable} NAMES llvm-${tool} llvm-${tool}-14 REQUIRED)
endforeach()

# Programs come from this system, everything else from the SDK.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_OSX_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
