// A folder of a test's own that goes when the test does.
#pragma once

#include <ftw.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace qrt::test {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    const char* base = std::getenv("TMPDIR");
    path_ = std::string(base ? base : "/tmp") + "/qrt-test-XXXXXX";
    if (!mkdtemp(path_.data())) ADD_FAILURE() << "no temporary folder";
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    const auto removeObject = [](const char* path, const struct stat*, int, struct FTW*) {
      return std::remove(path);
    };
    constexpr int openFolders = 16;
    if (nftw(path_.c_str(), removeObject, openFolders, FTW_DEPTH | FTW_PHYS | FTW_MOUNT) != 0) {
      ADD_FAILURE() << "left behind: " << path_;
    }
  }

  const std::string& path() const { return path_; }

  /// Makes a file and the folders above it. Returns its full path.
  std::string plant(const std::string& relativePath, const std::string& contents) const {
    const auto full = path_ + "/" + relativePath;
    for (auto slash = full.find('/', path_.size() + 1); slash != std::string::npos;
         slash = full.find('/', slash + 1)) {
      mkdir(full.substr(0, slash).c_str(), 0755);
    }
    std::ofstream file(full, std::ios::binary);
    file << contents;
    file.close();
    if (!file) ADD_FAILURE() << "cannot write " << full;
    return full;
  }

  std::string contents(const std::string& relativePath) const {
    std::ifstream file(path_ + "/" + relativePath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path_;
};

}  // namespace qrt::test
