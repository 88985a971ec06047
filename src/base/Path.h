// Paths as text: their components and extensions.
#pragma once

#include <string>
#include <string_view>

/// Slashes at the end of a path do not count, except for "/" itself and where a comment says so.
namespace qrt::path {

/// The path of `component` in the folder `folder`. An empty one of the two leaves the other.
std::string appending(std::string_view folder, std::string_view component);

/// The path of what is at `relativePath` below `folder`, which is kept as it is written. An empty
/// `relativePath` is the folder itself.
std::string below(std::string folder, std::string_view relativePath);

/// "b.txt" of "/a/b.txt/"; "/" of "/"; empty for an empty path.
std::string_view lastComponent(std::string_view path);

/// "/a" of "/a/b"; "/" of "/a" and of "/"; empty when there is nothing before the last component.
std::string_view withoutLastComponent(std::string_view path);

/// "txt" of "/a/b.txt"; empty without a dot, and when the last component's only dot begins it.
std::string_view extension(std::string_view path);

/// The path without its extension and the dot before it.
std::string_view withoutExtension(std::string_view path);

/// Removes the text up to the first slash, and that slash, from `path` and returns the text. It is
/// empty for a slash at the beginning; without a slash it is the whole path.
std::string_view takeFirstComponent(std::string_view& path);

/// True for a text that can be the name of one object in a folder.
bool isComponent(std::string_view text);

}  // namespace qrt::path
