#include "operations/OperationParameters.h"

namespace qrt {
namespace {

using enum ParameterKind;

constexpr bool optional = true;

// clang-format off
constexpr OperationParameters table[] = {
    {"nop"},
    {"discard-auth"},
    {"delete-files", {{"paths", paths}}},
    {"prepare-uninstall"},
    {"perform-uninstall", {{"", ownProcess}, {"executable", path}, {"job", path}}},
    {"modify-systemfile",
     {{"path", path}, {"contents", data}, {"remove-backup", flag, {}, optional}}},
    {"create-fileobject", {{"path", path}, {"kind", choice, "file=F executable=X folder=D"}}},
    {"rename-fileobject", {{"path", path}, {"new-path", path}}},
    {"delete-fileobjects",
     {{"recursive", textFlag, {}, optional},
      {"stop-on-first-error", textFlag, {}, optional},
      {"paths", paths}}},
    {"delete-foldercontents", {{"paths", paths}}},
    {"inspect-fileobject", {{"path", path}}, "ObjectExistence",
     "0 when the object does not exist, 1 when it is a folder, 2 when it is anything else"},
    {"touch-fileobject", {{"path", path}}},
    {"modify-protection",
     {{"path", path},
      {"is-protected", flag},
      {"recursive", flag, {}, optional},
      {"one-file-system", flag, {}, optional}}},
    {"modify-hfsattr",
     {{"path", path}, {"type", number}, {"creator", number}, {"hidden", flag, {}, optional}}},
    {"create-link", {{"path", path}, {"target", text}, {"hard", flag, {}, optional}}},
    {"search-agedfiles",
     {{"folder", path}, {"days", number}, {"one-file-system", flag, {}, optional}}},
    {"search-filenames",
     {{"folder", path},
      {"prefix", text, {}, optional},
      {"extension", text, {}, optional},
      {"folders", flag, {}, optional}}},
    {"search-patterns",
     {{"folder", path},
      {"one-file-system", textFlag, {}, optional},
      {"names", taggedTexts, "0", optional},
      {"prefixes", taggedTexts, "1", optional},
      {"extensions", taggedTexts, "2", optional}}},
    {"search-fileorphans", {{"folder", path}, {"one-file-system", flag, {}, optional}}},
    {"inspect-storagesize", {{"folder", path}}, "Size", "the size in bytes"},
    {"modify-kernelsetting", {{"name", text}, {"value", number}}},
    {"modify-nvram", {{"name", text}, {"value", text}}},
    {"modify-preferences",
     {{"key", text},
      {"domain", text},
      {"user", text},
      {"host", text},
      {"value", text, {}, optional}}},
    {"modify-sysconf",
     {{"", requestor},
      {"file", text, {}, optional},
      {"key", text},
      {"value", text, {}, optional}}},
    {"signal-process", {{"process", number}, {"signal", number}}},
    {"modify-acl", {{"path", path}, {"acl", data}}},
    {"prop-permissions",
     {{"folder", path},
      {"expected", number, {}, optional},
      {"one-file-system", flag, {}, optional},
      {"copy", choices,
       "acl=1 others=2 group=4 owner=8 group-id=16 user-id=32 mark-inherited=64"}}},
    {"execute-utility",
     {{"", requestor}, {"utility", text}, {"arguments", texts, {}, optional}}},
    {"enable-ipvsix", {{"", requestor}, {"service", text}, {"is-supported", flag}}},
    {"rename-stashfolder",
     {{"folder", path}, {"name", text}, {"substitute", flag, {}, optional}}},
    {"create-installmedia", {{"installer", path}, {"volume", path}}},
    {"erase-diskblocks", {{"device", text}, {"count", number}}},
    {"write-smcvalue", {{"key", text}, {"value", data}}},
};
// clang-format on

}  // namespace

std::span<const OperationParameters> operationParameters() { return table; }

}  // namespace qrt
