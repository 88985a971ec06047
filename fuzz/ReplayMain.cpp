// Runs a fuzz target once over every file of the folders given, for builds without libFuzzer.
#include <dirent.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    DIR* folder = opendir(argv[i]);
    if (!folder) {
      std::fprintf(stderr, "cannot open %s\n", argv[i]);
      return 1;
    }
    while (const dirent* entry = readdir(folder)) {
      if (entry->d_name[0] == '.') continue;
      std::ifstream file(std::string(argv[i]) + "/" + entry->d_name, std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++replayed;
    }
    closedir(folder);
  }
  std::printf("%d inputs replayed\n", replayed);
  return replayed == 0;  // A corpus that is gone must not pass for one without findings.
}
