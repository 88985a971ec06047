# Writes OUTPUT, one C++ source that defines the bytes of FOLDER/Info.plist and FOLDER/launchd.plist. The linker takes
# an object of a library whole: a program that uses one list carries both.
foreach(list Info launchd)
  file(READ ${FOLDER}/${list}.plist hex HEX)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${hex}")
  string(TOLOWER ${list} name)
  string(APPEND arrays "constexpr std::uint8_t ${name}Bytes[] = {${bytes}};\n")
  string(APPEND spans "const std::span<const std::uint8_t> ${name}PropertyList(${name}Bytes);\n")
endforeach()
file(WRITE ${OUTPUT}
"#include \"service/EmbeddedPropertyLists.h\"

namespace qrt {
namespace {
${arrays}}
${spans}}  // namespace qrt
")
