#include "support/BundleSigner.h"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "platform/PropertyLists.h"
#include "support/PlantedFile.h"

namespace qrt::test {
namespace {

constexpr std::size_t pageSize = 4096;
constexpr std::size_t codeSize = 3 * pageSize + 100;
constexpr std::size_t signatureSize = 4 * pageSize;

constexpr std::size_t inWholePages(std::size_t size) {
  return (size + pageSize - 1) / pageSize * pageSize;
}

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

Data shortDigest(unsigned kind, const Data& bytes) {
  auto digest = testDigest(kind, bytes);
  digest.resize(20);
  return digest;
}

/// Header, two commands and some code; the signature follows.
Data unsignedProgram(const ProgramForm& form) {
  Data bytes;
  const auto words = [&](std::initializer_list<std::uint64_t> numbers) {
    put(bytes, numbers, 4, form.isBigEndian);
  };
  if (form.is64) {
    words({0xFEEDFACF, 0x01000007, 3, 2, 2, 24 + 16, 0, 0});
  } else {
    words({0xFEEDFACE, 18, 3, 2, 2, 24 + 16, 0});
  }
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
  Data hashes;
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    put(hashes, *part ? testDigest(kind, **part) : Data(hashSize));
  }
  for (std::size_t page = 0; page < code.size(); page += pageSize) {
    const auto* begin = code.data() + page;
    put(hashes, testDigest(kind, Data(begin, begin + std::min(pageSize, code.size() - page))));
  }
  Data fields;
  put(fields, {isNew ? 0x20400u : 0x20200u, 0, headerSize + names.size() + parts.size() * hashSize,
               headerSize, parts.size(), inWholePages(code.size()) / pageSize, code.size()});
  put(fields, {hashSize, kind, 0, 12}, 1);
  put(fields, {0, 0, teamOffset});
  fields.resize(headerSize - 8);
  put(fields, names);
  put(fields, hashes);
  return blob(0xFADE0C02, fields);
}

/// The signer's lists of all directories.
std::vector<SignedAttribute> attributesFor(const std::vector<Data>& directories,
                                           const SigningOptions& options) {
  // The identifiers of SHA-1, SHA-256 and SHA-384.
  static const std::map<unsigned, Data> types{{1, {6, 5, 0x2B, 0x0E, 3, 2, 0x1A}},
                                              {2, {6, 9, 0x60, 0x86, 0x48, 1, 0x65, 3, 4, 2, 1}},
                                              {4, {6, 9, 0x60, 0x86, 0x48, 1, 0x65, 3, 4, 2, 2}}};
  std::vector<SignedAttribute> attributes;
  Array list;
  for (std::size_t i = 0; i < std::min(directories.size(), options.listedDirectories); ++i) {
    const auto kind = options.digests[i];
    list.emplace_back(shortDigest(kind, directories[i]));
    if (options.lists != options.newer && options.lists != options.both) continue;
    const auto hash = testDigest(kind, directories[i]);
    Data pair = types.at(kind);
    put(pair, {4, hash.size()}, 1);
    put(pair, hash);
    pair.insert(pair.begin(), {0x30, static_cast<std::uint8_t>(pair.size())});
    attributes.push_back({"1.2.840.113635.100.9.2", pair, true});
  }
  if (options.lists == options.older || options.lists == options.both) {
    const auto xml = writeXmlPropertyList(Dictionary{{"cdhashes", list}});
    attributes.push_back({"1.2.840.113635.100.9.1", Data(xml->begin(), xml->end())});
  }
  return attributes;
}

SignedProgramFile thinProgram(const SigningChain& chain, const ProgramForm& form,
                              const SigningOptions& options, const Data* infoPlist,
                              const Data* resourceList) {
  SignedProgramFile result{unsignedProgram(form), {}, 0, 0};
  const auto requirements = blob(0xFADE0C01, {0, 0, 0, 0});
  const auto entitlements = blob(0xFADE7171, {'<', '/', '>'});
  const Parts parts{infoPlist, &requirements, resourceList, nullptr, &entitlements};
  std::map<std::uint32_t, Data> blobs{{2, requirements}, {5, entitlements}};
  std::vector<Data> directories;
  for (const auto kind : options.digests) {
    const auto slot = directories.empty() ? 0 : 0x1000 + directories.size() - 1;
    directories.push_back(codeDirectory(kind, result.bytes, options, parts));
    if (options.change) options.change(directories.size() - 1, directories.back());
    blobs[static_cast<std::uint32_t>(slot)] = directories.back();
  }
  blobs[0x10000] = blob(
      0xFADE0B01,
      options.isAdHoc ? Data() : chain.sign(directories[0], attributesFor(directories, options)));

  Data index, contents;
  put(index, {blobs.size()});
  const auto start = 12 + 8 * blobs.size();
  for (const auto& [slot, bytes] : blobs) {
    if (slot == 0) result.directoryOffset = codeSize + start + contents.size();
    if (slot == 0x10000) result.cmsOffset = codeSize + start + contents.size();
    put(index, {slot, start + contents.size()});
    put(contents, bytes);
  }
  put(index, contents);
  auto signature = blob(0xFADE0CC0, index);
  if (signature.size() > signatureSize) throw std::runtime_error("signature too large");
  signature.resize(signatureSize);
  put(result.bytes, signature);
  result.directoryHash = shortDigest(options.digests[0], directories[0]);
  return result;
}

Data bytesOf(const std::string& path) {
  const auto contents = contentsOf(path);
  return {contents.begin(), contents.end()};
}

void writeList(const std::string& path, const PropertyValue& value) {
  std::ofstream(path) << *writeXmlPropertyList(value);
}

/// Seals what a shell command finds in a folder, one path a line.
void addSeals(const std::string& folder, const std::string& find, Dictionary& seals) {
  std::istringstream paths(printed("cd '" + folder + "'; " + find));
  for (std::string path; std::getline(paths, path);) {
    char target[256] = {};
    if (readlink((folder + "/" + path).c_str(), target, sizeof target - 1) > 0) {
      seals.emplace(path, Dictionary{{"symlink", target}});
      continue;
    }
    const auto bytes = bytesOf(folder + "/" + path);
    Dictionary seal{{"hash", testDigest(1, bytes)}, {"hash2", testDigest(2, bytes)}};
    if (path.find(".lproj/") != std::string::npos) seal.emplace("optional", true);
    seals.emplace(path, seal);
  }
}

}  // namespace

SignedProgramFile signedProgram(const SigningChain& chain, const SigningOptions& options,
                                const Data* infoPlist, const Data* resourceList) {
  std::vector<SignedProgramFile> programs;
  for (const auto& form : options.programs) {
    programs.push_back(thinProgram(chain, form, options, infoPlist, resourceList));
  }
  if (programs.size() == 1) return programs.front();
  auto result = programs.back();
  result.bytes.clear();
  put(result.bytes, {0xCAFEBABE, programs.size()});
  auto offset = pageSize;
  for (const auto& program : programs) {
    put(result.bytes, {7, 3, offset, program.bytes.size(), 12});
    offset += inWholePages(program.bytes.size());
  }
  for (const auto& program : programs) {
    result.bytes.resize(inWholePages(result.bytes.size()));
    result.directoryOffset = result.bytes.size() + program.directoryOffset;
    result.cmsOffset = result.bytes.size() + program.cmsOffset;
    put(result.bytes, program.bytes);
  }
  return result;
}

SignedProgramFile signBundle(const std::string& bundle, const SigningChain& chain,
                             const SigningOptions& options,
                             const std::vector<std::pair<std::string, Data>>& code) {
  const auto contents = bundle + "/" + options.base;
  std::string find =
      "find . ! -type d ! -path './MacOS/program' ! -path ./program ! -path ./Info.plist"
      " ! -path './_CodeSignature/*' ! -path ./CodeResources -printf '%P\\n'";
  Dictionary newer, older;
  for (const auto& [path, hash] : code) {
    newer.emplace(path, Dictionary{{"cdhash", hash}, {"requirement", "identifier x"}});
    find += " | grep -v '^" + path + "'";
  }
  addSeals(contents, find, newer);
  for (const auto& [path, seal] : newer) {
    const auto hash = seal.dictionary()->find("hash");
    if (hash != seal.dictionary()->end()) older.emplace(path, hash->second);
  }
  const Dictionary omitted{{"omit", true}, {"weight", 2000.0}};
  Dictionary list{{"files", older},
                  {"rules", Dictionary{{"^Resources/", true}, {"^version.plist$", true}}}};
  if (options.sealsNewerForm) {
    list.emplace("files2", newer);
    list.emplace("rules2", Dictionary{{"^.*", true},
                                      {R"(^(.*/)?\.DS_Store$)", omitted},
                                      {"^Info\\.plist$", omitted},
                                      {"^PkgInfo$", omitted}});
  }
  const auto listPath = contents + "/_CodeSignature/CodeResources";
  run({"mkdir", "-p", contents + "/_CodeSignature"});
  writeList(listPath, list);
  run({"ln", "-sf", "_CodeSignature/CodeResources", contents + "/CodeResources"});
  const auto infoPlist = bytesOf(contents + "/" + options.infoPlist);
  const auto resourceList = bytesOf(listPath);
  auto program = signedProgram(chain, options, &infoPlist, &resourceList);
  std::ofstream(contents + "/" + options.program)
      << std::string(program.bytes.begin(), program.bytes.end());
  return program;
}

void makeApplication(const std::string& path, const Dictionary& info) {
  const auto contents = path + "/Contents/";
  run({"mkdir", "-p", contents + "MacOS", contents + "Resources/en.lproj",
       contents + "SharedSupport"});
  auto completed = info;
  completed.emplace("CFBundleExecutable", "program");
  completed.emplace("CFBundleIdentifier", "com.example.app");
  writeList(contents + "Info.plist", completed);
  for (const auto* name : {"resource", "en.lproj/text.strings"}) {
    std::ofstream(contents + "Resources/" + name) << "a resource";
  }
  run({"ln", "-s", "resource", contents + "Resources/link"});
}

}  // namespace qrt::test
