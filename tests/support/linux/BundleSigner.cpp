#include "support/BundleSigner.h"

#include <algorithm>
#include <map>

#include "platform/PropertyLists.h"
#include "support/PlantedFile.h"

namespace qrt::test {
namespace {

constexpr std::size_t pageSize = 4096;
constexpr std::size_t codeSize = 3 * pageSize + 100;
constexpr std::size_t signatureSize = 4 * pageSize;

constexpr std::size_t pagesOf(std::size_t size) { return (size + pageSize - 1) / pageSize; }

void put(Data& bytes, std::initializer_list<std::uint64_t> numbers, unsigned size = 4,
         bool isBigEndian = true) {
  for (const auto number : numbers) {
    for (unsigned i = 0; i < size; ++i) {
      const auto shift = 8 * (isBigEndian ? size - 1 - i : i);
      bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
  }
}

void put(Data& bytes, const Data& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

Data blob(std::uint32_t magic, const Data& contents) {
  Data bytes;
  put(bytes, {magic, contents.size() + 8});
  put(bytes, contents);
  return bytes;
}

/// Header, two commands and some code; the signature follows.
Data unsignedProgram(const ProgramForm& form) {
  Data bytes;
  const auto words = [&](std::initializer_list<std::uint64_t> numbers) {
    put(bytes, numbers, 4, form.isBigEndian);
  };
  words({form.is64 ? 0xFEEDFACF : 0xFEEDFACE, 7, 3, 2, 2, 24 + 16, 0});
  if (form.is64) words({0});
  words({0x1B, 24, 1, 2, 3, 4});
  words({0x1D, 16, codeSize, signatureSize});
  while (bytes.size() < codeSize) bytes.push_back(static_cast<std::uint8_t>(bytes.size() * 7));
  return bytes;
}

/// What directories seal by its slot, from slot 1; null where the slot is empty.
using Parts = std::vector<const Data*>;

Data codeDirectory(unsigned kind, const Data& code, const SigningOptions& options,
                   const Parts& parts) {
  const bool isNew = kind != 1;
  const std::uint32_t headerSize = isNew ? 88 : 52;
  const auto hashSize = testDigest(kind, {}).size();
  Data names(options.identifier.begin(), options.identifier.end());
  names.push_back(0);
  const auto teamOffset = options.team ? headerSize + names.size() : 0;
  if (options.team) names.insert(names.end(), options.team->begin(), options.team->end());
  names.push_back(0);
  Data fields;
  put(fields, {isNew ? 0x20400u : 0x20200u, 0, headerSize + names.size() + parts.size() * hashSize,
               headerSize, parts.size(), pagesOf(code.size()), code.size()});
  put(fields, {hashSize, kind, 0, 12}, 1);
  put(fields, {0, 0, teamOffset});
  fields.resize(headerSize - 8);
  put(fields, names);
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    put(fields, *part ? testDigest(kind, **part) : Data(hashSize));
  }
  for (std::size_t page = 0; page < code.size(); page += pageSize) {
    const auto* begin = code.data() + page;
    put(fields, testDigest(kind, Data(begin, begin + std::min(pageSize, code.size() - page))));
  }
  return blob(0xFADE0C02, fields);
}

/// Hashes as they name code: cut where they are longer.
Data nameOf(unsigned kind, const Data& directory) {
  auto digest = testDigest(kind, directory);
  digest.resize(20);
  return digest;
}

Data signatureOf(const std::vector<Data>& directories, const SigningChain& chain,
                 const SigningOptions& options) {
  // The identifiers of SHA-1, SHA-256 and SHA-384.
  static const std::map<unsigned, Data> types{{1, {6, 5, 0x2B, 0x0E, 3, 2, 0x1A}},
                                              {2, {6, 9, 0x60, 0x86, 0x48, 1, 0x65, 3, 4, 2, 1}},
                                              {4, {6, 9, 0x60, 0x86, 0x48, 1, 0x65, 3, 4, 2, 2}}};
  Array names;
  std::vector<Data> pairs;
  for (std::size_t i = 0; i < directories.size(); ++i) {
    const auto kind = options.digests[i];
    if (i < options.inOlderList) names.emplace_back(nameOf(kind, directories[i]));
    if (i >= options.inNewerList) continue;
    const auto hash = testDigest(kind, directories[i]);
    const auto& type = types.at(kind);
    auto& pair = pairs.emplace_back();
    put(pair, {0x30, type.size() + 2 + hash.size()}, 1);
    put(pair, type);
    put(pair, {4, hash.size()}, 1);
    put(pair, hash);
  }
  const auto xml = names.empty() ? "" : *writeXmlPropertyList(Dictionary{{"cdhashes", names}});
  return chain.sign(directories[0], {xml.begin(), xml.end()}, pairs);
}

SignedProgramFile thinProgram(const SigningChain& chain, const ProgramForm& form,
                              const SigningOptions& options, const Data* infoPlist,
                              const Data* resourceList) {
  SignedProgramFile result{unsignedProgram(form), {}};
  const auto requirements = blob(0xFADE0C01, {0, 0, 0, 0});
  const auto entitlements = blob(0xFADE7171, {'<', '/', '>'});
  const Parts parts{infoPlist, &requirements, resourceList, nullptr, &entitlements};
  std::vector<Data> directories;
  for (const auto kind : options.digests) {
    directories.push_back(codeDirectory(kind, result.bytes, options, parts));
    if (options.change) options.change(directories.size() - 1, directories.back());
  }
  std::vector<std::pair<std::uint64_t, Data>> blobs{
      {0, directories[0]}, {2, requirements}, {5, entitlements}};
  for (std::size_t i = 1; i < directories.size(); ++i) {
    blobs.emplace_back(0x1000 + i - 1, directories[i]);
  }
  const auto cms = options.isAdHoc ? Data() : signatureOf(directories, chain, options);
  blobs.emplace_back(0x10000, blob(0xFADE0B01, cms));

  Data index, contents;
  put(index, {blobs.size()});
  const auto start = 12 + 8 * blobs.size();
  for (const auto& [slot, bytes] : blobs) {
    put(index, {slot, start + contents.size()});
    put(contents, bytes);
  }
  put(index, contents);
  auto signature = blob(0xFADE0CC0, index);
  signature.resize(signatureSize);
  put(result.bytes, signature);
  result.directoryHash = nameOf(options.digests[0], directories[0]);
  result.directoryOffset = codeSize + start;
  return result;
}

Data bytesOf(const std::string& path) {
  const auto contents = contentsOf(path);
  return {contents.begin(), contents.end()};
}

void writeList(const std::string& path, const PropertyValue& value) {
  std::ofstream(path) << *writeXmlPropertyList(value);
}

}  // namespace

SignedProgramFile signedProgram(const SigningChain& chain, const SigningOptions& options,
                                const Data* infoPlist, const Data* resourceList) {
  std::vector<SignedProgramFile> programs;
  for (const auto& form : options.programs) {
    programs.push_back(thinProgram(chain, form, options, infoPlist, resourceList));
  }
  auto result = programs.back();
  if (programs.size() == 1) return result;
  const auto stride = pagesOf(result.bytes.size()) * pageSize;
  Data file;
  put(file, {0xCAFEBABE, programs.size()});
  for (std::size_t i = 0; i < programs.size(); ++i) {
    put(file, {7, 3, pageSize + i * stride, programs[i].bytes.size(), 12});
  }
  for (std::size_t i = 0; i < programs.size(); ++i) {
    file.resize(pageSize + i * stride);
    result.directoryOffset = file.size() + programs[i].directoryOffset;
    put(file, programs[i].bytes);
  }
  result.bytes = file;
  return result;
}

SignedProgramFile signBundle(const std::string& bundle, const SigningChain& chain,
                             const SigningOptions& options,
                             const std::vector<std::pair<std::string, Data>>& code) {
  const auto contents = bundle + "/" + options.base + "/";
  std::string find = "cd '" + contents +
                     "'; mkdir -p _CodeSignature; ln -sf _CodeSignature/CodeResources;"
                     "find . ! -type d ! -path './MacOS/program' ! -path ./program"
                     " ! -path ./Info.plist ! -path '*/_CodeSignature/*' -printf '%P\\n'"
                     " | grep -v '^CodeResources'";
  Dictionary newer, older;
  for (const auto& [path, hash] : code) {
    newer.emplace(path, Dictionary{{"cdhash", hash}, {"requirement", "identifier x"}});
    find += " | grep -v '^" + path + "'";
  }
  std::istringstream paths(printed(find));
  for (std::string path; std::getline(paths, path);) {
    char target[256] = {};
    if (readlink((contents + path).c_str(), target, sizeof target - 1) > 0) {
      newer.emplace(path, Dictionary{{"symlink", target}});
      continue;
    }
    const auto bytes = bytesOf(contents + path);
    const auto digest = testDigest(1, bytes);
    const bool isOptional = path.find(".lproj/") != std::string::npos;
    newer.emplace(
        path,
        Dictionary{{"hash", digest}, {"hash2", testDigest(2, bytes)}, {"optional", isOptional}});
    older.emplace(path, digest);
  }
  Dictionary list{{"files", older}, {"rules", Dictionary{{"^Resources/", true}}}};
  if (options.sealsNewerForm) {
    const Dictionary omitted{{"omit", true}, {"weight", 2000.0}};
    list.emplace("files2", newer);
    list.emplace("rules2", Dictionary{{"^.*", true},
                                      {R"(^(.*/)?\.DS_Store$)", omitted},
                                      {"^Info\\.plist$", omitted},
                                      {"^PkgInfo$", omitted}});
  }
  writeList(contents + "_CodeSignature/CodeResources", list);
  const auto infoPlist = bytesOf(contents + options.infoPlist);
  const auto resourceList = bytesOf(contents + "_CodeSignature/CodeResources");
  auto program = signedProgram(chain, options, &infoPlist, &resourceList);
  std::ofstream(contents + options.program)
      << std::string(program.bytes.begin(), program.bytes.end());
  return program;
}

void makeApplication(const std::string& path, Dictionary info) {
  const auto contents = path + "/Contents/";
  run({"sh", "-c",
       "mkdir -p '" + contents + "'; cd '" + contents +
           "'; mkdir -p MacOS SharedSupport Resources/en.lproj; ln -s resource Resources/link;"
           "echo a | tee Resources/resource > Resources/en.lproj/text.strings"});
  info.emplace("CFBundleExecutable", "program");
  info.emplace("CFBundleIdentifier", "com.example.app");
  writeList(contents + "Info.plist", info);
}

}  // namespace qrt::test
