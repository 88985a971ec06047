// Paths as texts: what stands between slashes and behind the last dot.
#pragma once

#include <string>
#include <string_view>

/// Slashes at the end of a path do not count, except for "/" itself.
namespace qrt::path {

/// The path of `component` in the folder `folder`. An empty one of the two leaves the other.
std::string appending(std::string_view folder, std::string_view component);

/// "b.txt" of "/a/b.txt/"; "/" of "/"; empty for an empty path.
std::string_view lastComponent(std::string_view path);

/// "/a" of "/a/b"; "/" of "/a" and of "/"; empty when there is nothing before the last component.
std::string_view withoutLastComponent(std::string_view path);

/// "txt" of "/a/b.txt"; empty without a dot, and when the last component's only dot begins it.
std::string_view extension(std::string_view path);

/// The path without its extension and the dot before it.
std::string_view withoutExtension(std::string_view path);

}  // namespace qrt::path
