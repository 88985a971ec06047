# Writes OUTPUT, a C++ source that defines the bytes of INPUT as `qrt::NAME`.
file(READ ${INPUT} hex HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${hex}")
file(WRITE ${OUTPUT}
"#include \"service/EmbeddedPropertyLists.h\"

namespace qrt {
namespace {
constexpr std::uint8_t bytes[] = {${bytes}};
}
const std::span<const std::uint8_t> ${NAME}(bytes);
}  // namespace qrt
")
