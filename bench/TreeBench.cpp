// Walking, searching, changing and deleting trees: 200,000 files in 20,000 folders.
//
//   TreeBench [options of the benchmark library]     measures in this process
//   TreeBench ACTION PATH                            does it once, for a profiler; see `actions`
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <string_view>

#include "filesystem/SearchOperations.h"
#include "filesystem/objects/AdvancedOpsAdditions.h"
#include "filesystem/objects/PermissionPropagation.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "filesystem/walk/QRTDirectoryEnumerator.h"
#include "platform/NativePlatform.h"

namespace {

constexpr int outerFolders = 200;
constexpr int innerFolders = 100;
constexpr int filesEach = 10;
constexpr std::size_t objects =
    outerFolders * (1 + innerFolders * (1 + static_cast<std::size_t>(filesEach)));

const qrt::Platform& platform() {
  static const qrt::NativePlatform native;
  return native.facilities();
}

qrt::FileSystem& files() { return platform().files; }

bool make(const std::string& top) {
  if (mkdir(top.c_str(), 0755) != 0) return false;
  for (int outer = 0; outer < outerFolders; ++outer) {
    const auto outerPath = top + "/outer" + std::to_string(outer);
    mkdir(outerPath.c_str(), 0755);
    for (int inner = 0; inner < innerFolders; ++inner) {
      const auto innerPath = outerPath + "/inner" + std::to_string(inner);
      mkdir(innerPath.c_str(), 0755);
      const qrt::FileDescriptor folder(open(innerPath.c_str(), O_RDONLY | O_DIRECTORY));
      for (int file = 0; file < filesEach; ++file) {
        const auto name = "file" + std::to_string(file);
        const qrt::FileDescriptor made(openat(folder.get(), name.c_str(), O_CREAT | O_EXCL, 0644));
        if (!made) return false;
      }
    }
  }
  return true;
}

std::size_t enumerate(const std::string& top) {
  const auto walk = qrt::QRTDirectoryEnumerator::enumeratorAtPath(platform(), top);
  std::size_t count = 0;
  while (walk && walk->advance()) count += walk->objectPath().empty() ? 0 : 1;
  return count;
}

bool remove(const std::string& top) {
  using namespace qrt::QRTFileDeletionAdditions;
  return !enforceRemovalOfFileSystemObjectAtPath(platform(), top, true);
}

bool measureSize(const std::string& top) {
  using namespace qrt::SearchOperations;
  const auto answer = performOperationInspectStoragesizeWithArguments(platform(), {top}, nullptr);
  return answer && answer->userInfo.contains("Size");
}

bool searchPatterns(const std::string& top) {
  using namespace qrt::SearchOperations;
  return !performOperationSearchPatternsWithArguments(
      platform(), {top, "0", "2", "log", "0", "inner7"}, nullptr);
}

bool searchAged(const std::string& top) {
  using namespace qrt::SearchOperations;
  return !performOperationSearchAgedfilesWithArguments(platform(), {top, 30, false}, nullptr);
}

/// Gives everything below a new tree other rights.
bool propagate(const std::string& top, const char* list, std::uint8_t options) {
  const auto held = files().hold(top.c_str(), qrt::Links::stay);
  if (!held || held->setOwner(1234, 4321) != qrt::PosixCode::success) return false;
  auto& lists = platform().accessControl;
  if (lists.setList(*held, *lists.fromText(list)) != qrt::PosixCode::success) return false;
  if (held->setPermissions(0770) != qrt::PosixCode::success) return false;
  return !qrt::propagatePermissions(platform(), top, 0, false, options, nullptr);
}

bool propagateMode(const std::string& top) { return propagate(top, "", 0x0e); }

bool propagateAll(const std::string& top) { return propagate(top, "u:77:rwx,g:88:rx", 0x3f); }

bool protect(const std::string& top) {
  return !qrt::AdvancedOpsAdditions::setUserImmutableAtPath(platform(), top, true, true, false);
}

/// Where a tree is made: in memory where there is such a place.
std::string scratchPath() {
  std::string path = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  path += "/qrt-bench-XXXXXX";
  if (mkdtemp(path.data()) == nullptr) return {};
  rmdir(path.c_str());
  return path;
}

void enumerating(benchmark::State& state) {
  const auto top = scratchPath();
  if (!make(top)) return state.SkipWithError("the tree could not be made");
  for (auto _ : state) {
    if (enumerate(top) != objects) state.SkipWithError("objects are missing");
  }
  remove(top);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(objects));
}
BENCHMARK(enumerating)->Unit(benchmark::kMillisecond)->UseRealTime();

void removing(benchmark::State& state) {
  const auto top = scratchPath();
  for (auto _ : state) {
    state.PauseTiming();
    if (!make(top)) state.SkipWithError("the tree could not be made");
    state.ResumeTiming();
    if (!remove(top)) state.SkipWithError("the tree could not be removed");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(objects));
}
BENCHMARK(removing)->Unit(benchmark::kMillisecond)->UseRealTime();

struct Action {
  std::string_view name;
  bool (*action)(const std::string& path);
};

constexpr Action actions[] = {
    {"make", make},
    {"enumerate", [](const std::string& path) { return enumerate(path) == objects; }},
    {"size", measureSize},
    {"patterns", searchPatterns},
    {"aged", searchAged},
    {"mode", propagateMode},
    {"rights", propagateAll},
    {"protect", protect},
    {"remove", remove},
};

bool doOnce(std::string_view name, const std::string& path) {
  for (const auto& action : actions) {
    if (action.name == name) return action.action(path);
  }
  return false;
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 3 && arguments[1][0] != '-') return doOnce(arguments[1], arguments[2]) ? 0 : 1;
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
  benchmark::RunSpecifiedBenchmarks();
}
