#include "base/Path.h"

#include <algorithm>

#include "base/Text.h"

namespace qrt::path {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

std::string_view withoutLeadingSlashes(std::string_view path) {
  while (path.starts_with('/')) path.remove_prefix(1);
  return path;
}

}  // namespace

std::string appending(std::string_view folder, std::string_view component) {
  component = withoutTrailingSlashes(component);
  folder = withoutTrailingSlashes(folder);
  if (folder.empty()) return std::string(component);
  component = withoutLeadingSlashes(component);
  std::string path(folder);
  if (component.empty()) return path;
  if (!path.ends_with('/')) path += '/';
  return path += component;
}

std::string below(std::string folder, std::string_view relativePath) {
  if (relativePath.empty()) return folder;
  if (!folder.ends_with('/')) folder += '/';
  return folder.append(relativePath);
}

std::string_view lastComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return path;
  return path.substr(path.rfind('/') + 1);
}

std::string_view withoutLastComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  return withoutTrailingSlashes(path.substr(0, slash + 1));
}

std::string_view extension(std::string_view path) {
  const auto name = lastComponent(path);
  const auto dot = name.rfind('.');
  return dot == 0 || dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view withoutExtension(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const auto length = extension(path).size();
  return length == 0 ? path : path.substr(0, path.size() - length - 1);
}

std::string_view takeFirstComponent(std::string_view& path) {
  const auto end = std::min(path.find('/'), path.size());
  const auto component = path.substr(0, end);
  path.remove_prefix(std::min(end + 1, path.size()));
  return component;
}

bool isComponent(std::string_view text) {
  return !text.empty() && text != "." && text != ".." && text.find('/') == text.npos &&
         !holdsZeroByte(text);
}

}  // namespace qrt::path
