#include "platform/posix/CopyContents.h"

#include <cerrno>

#include "platform/FileDescriptor.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

/// Reports data only in the first half of a file of 8 bytes.
off_t seekHalf(int, off_t from, int whence) {
  if (whence == SEEK_HOLE) return 4;
  return from < 4 ? from : (errno = ENXIO, -1);
}

TEST(CopyContents, CopiesDataAfterTheLastThatTheSystemReportsWhereHolesAreUncertain) {
  const test::ScratchFolder scratch;
  const FileDescriptor from(open(scratch.file("from", "12345678").c_str(), O_RDONLY));
  const std::pair<NoData, std::string> rows[] = {{NoData::isHole, std::string("1234\0\0\0\0", 8)},
                                                 {NoData::isUnknown, "12345678"}};
  for (const auto& [noData, contents] : rows) {
    const auto copy = scratch.file("to");
    const FileDescriptor to(open(copy.c_str(), O_WRONLY));
    EXPECT_EQ(copyContents(from.get(), to.get(), noData, seekHalf), PosixCode::success);
    EXPECT_EQ(test::contentsOf(copy), contents);
  }
}

}  // namespace
}  // namespace qrt
