#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

#include "client/cli/commandline/CommandTables.h"
#include "client/cli/generated/GeneratedText.h"
#include "platform/HelperConnection.h"
#include "platform/ServiceDescription.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// Escaped so that roff prints the text unchanged.
std::string escaped(std::string_view text) {
  std::string result;
  if (text.starts_with('.') || text.starts_with('\'')) result = "\\&";
  for (const char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  return result;
}

/// "name(section)" with the name in bold.
std::string reference(std::string_view page) {
  const auto section = page.find('(');
  return fmt::format("\\fB{}\\fR{}", escaped(page.substr(0, section)), page.substr(section));
}

/// Builds a page from top to bottom.
class Page {
 public:
  Page(std::string_view name, int section, std::string_view purpose) {
    line(fmt::format(".TH {} {} \"\" \"\" \"Privileged helper\"", escaped(name), section));
    heading("NAME");
    line(fmt::format("{} \\- {}", escaped(name), purpose));
  }

  void heading(std::string_view title) { line(fmt::format(".SH {}", title)); }
  void paragraph(std::string_view text) {
    line(".PP");
    line(escaped(text));
  }
  void item(std::string_view term, std::string_view meaning) {
    line(".TP");
    line(fmt::format("\\fB{}\\fR", escaped(term)));
    line(escaped(meaning));
  }
  /// The next items belong to the last one.
  void indent() { line(".RS"); }
  void outdent() { line(".RE"); }
  void example(std::string_view command, std::string_view meaning) {
    paragraph(meaning);
    line(".PP");
    line(".in +4n");
    line(".EX");
    line(escaped(command));
    line(".EE");
    line(".in");
  }
  void seeAlso(std::string_view first, const std::vector<std::string_view>& rest) {
    heading("\"SEE ALSO\"");
    auto names = reference(first);
    for (const auto name : rest) names += ", " + reference(name);
    line(names);
  }
  void line(std::string_view text) {
    text_ += text;
    text_ += '\n';
  }

  std::string text() && { return std::move(text_); }

 private:
  std::string text_;
};

std::string spaced(std::string_view first, std::string_view second) {
  return second.empty() ? std::string(first) : fmt::format("{} {}", first, second);
}

}  // namespace

std::string clientManual(const OperationDescriptions& operations) {
  Page page("qrtctl", 1, "do maintenance work that needs root");
  page.heading("SYNOPSIS");
  page.line("\\fBqrtctl\\fR [\\fIOPTION\\fR]... \\fICOMMAND\\fR [\\fIARGUMENT\\fR]...");
  page.heading("DESCRIPTION");
  const auto& service = serviceDescription();
  page.paragraph(
      fmt::format("Each command below OPERATIONS is one of the privileged helper's fixed catalogue "
                  "and needs an authorization right of its own. {} Options go before or after the "
                  "command; words after \"--\" are never options.",
                  service.clientRights));
  page.heading("OPTIONS");
  for (const auto& option : generalOptions())
    page.item(spaced(option.name, option.value), option.help);
  for (const auto& option : {helpOption, versionOption}) page.item(option.names, option.help);
  page.heading("COMMANDS");
  for (const auto& builtIn : builtInCommands()) {
    if (!builtIn.isHidden) page.item(spaced(builtIn.name, synopsisOf(builtIn)), builtIn.help);
  }
  page.heading("OPERATIONS");
  for (const auto& operation : operations) {
    page.item(spaced(operation.row.identifier, synopsisOf(operation.row)), operation.sentence);
    page.indent();
    for (const auto& [name, meaning] : argumentRows(operation.row)) page.item(name, meaning);
    page.outdent();
  }
  page.heading("OUTPUT");
  for (const auto& note : outputNotes()) page.paragraph(note);
  page.heading("\"EXIT STATUS\"");
  for (const auto& [status, meaning] : exitStatuses()) {
    page.item(std::to_string(static_cast<int>(status)), meaning);
  }
  page.paragraph(
      "execute-utility ends with the status of the utility when that is not 0, and with 128 and "
      "the number of the signal when a signal killed it.");
  page.heading("ENVIRONMENT");
  page.item("NO_COLOR", "When it is set and not empty, no output has colour.");
  page.heading("FILES");
  page.item(defaultHelperAddress(), service.defaultAddress);
  page.heading("EXAMPLES");
  for (const auto& [command, meaning] : commandExamples()) page.example(command, meaning);
  page.seeAlso("privileged-helper(8)", service.clientSeeAlso);
  return std::move(page).text();
}

std::string daemonManual(const OperationDescriptions& operations) {
  Page page("privileged-helper", 8, "a daemon for maintenance work that needs root");
  page.heading("SYNOPSIS");
  const auto& service = serviceDescription();
  page.line(fmt::format("\\fB{}\\fR", escaped(service.synopsis)));
  page.heading("DESCRIPTION");
  page.paragraph(service.start);
  page.paragraph(service.rights);
  page.heading("RIGHTS");
  for (const auto& operation : operations) {
    page.item(operation.right, fmt::format("For {}. {}", operation.users, operation.sentence));
  }
  if (!service.environment.empty()) page.heading("ENVIRONMENT");
  for (const auto& [term, meaning] : service.environment) page.item(term, meaning);
  page.heading("FILES");
  for (const auto& [term, meaning] : service.files) page.item(term, meaning);
  page.heading("\"EXIT STATUS\"");
  page.item("0", "The last client has left, or the daemon has uninstalled itself.");
  page.item("1", service.wrongStart);
  page.seeAlso("qrtctl(1)", service.daemonSeeAlso);
  return std::move(page).text();
}

}  // namespace qrt
