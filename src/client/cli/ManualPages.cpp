#include <fmt/format.h>

#include <string>
#include <string_view>

#include "client/cli/CommandTables.h"
#include "client/cli/GeneratedText.h"
#include "client/cli/OperationSentence.h"
#include "operations/QRTPrivilegedOperation.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// Text as roff prints it unchanged.
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

/// Builds a page from the top to the end.
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
  /// Items from here on belong to the last one.
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

std::string clientManual(const OperationViews& views) {
  Page page("qrtctl", 1, "have the privileged helper do maintenance work that needs root");
  page.heading("SYNOPSIS");
  page.line("\\fBqrtctl\\fR [\\fIOPTION\\fR]... \\fICOMMAND\\fR [\\fIARGUMENT\\fR]...");
  page.heading("DESCRIPTION");
  page.paragraph(
      "Each command below OPERATIONS is one of the privileged helper's fixed catalogue and needs "
      "an "
      "authorization right of its own. Where polkit runs, whoever lacks it is asked for an "
      "administrator's password. Options may stand before or behind the command; words behind "
      "\"--\" are never options.");
  page.heading("OPTIONS");
  for (const auto& option : generalOptions())
    page.item(spaced(option.name, option.value), option.help);
  page.heading("COMMANDS");
  for (const auto& own : ownCommands()) {
    if (!own.isHidden) page.item(spaced(own.name, own.argument), own.help);
  }
  page.heading("OPERATIONS");
  for (const auto& view : views) {
    page.item(spaced(view.form.identifier, synopsisOf(view.form)), sentenceFor(view.operation));
    page.indent();
    for (const auto& [name, meaning] : argumentRows(view.form)) page.item(name, meaning);
    page.outdent();
  }
  page.heading("OUTPUT");
  for (const auto& note : outputNotes()) page.paragraph(note);
  page.heading("\"EXIT STATUS\"");
  for (const auto& [status, meaning] : exitStatuses()) {
    page.item(std::to_string(static_cast<int>(status)), meaning);
  }
  page.paragraph("execute-utility ends with the status of the utility when that is not 0.");
  page.heading("ENVIRONMENT");
  page.item("NO_COLOR", "Set to anything, nothing is shown in colour.");
  page.heading("FILES");
  page.item(defaultSocketPath, "Where the helper listens unless --socket names another place.");
  page.heading("EXAMPLES");
  for (const auto& [command, meaning] : commandExamples()) page.example(command, meaning);
  page.heading("\"SEE ALSO\"");
  page.line(fmt::format("\\fB{}\\fR(8), \\fBpolkit\\fR(8)", escaped(helperServiceIdentifier)));
  return std::move(page).text();
}

std::string daemonManual(const OperationViews& views) {
  Page page(helperServiceIdentifier, 8, "the privileged helper, a daemon for maintenance work");
  page.heading("SYNOPSIS");
  page.line(fmt::format("\\fB{}.socket\\fR", escaped(helperServiceIdentifier)));
  page.heading("DESCRIPTION");
  page.paragraph(
      "The daemon is started by its socket unit when somebody connects, and ends when its last "
      "client leaves. It takes its listening socket as descriptor 3 and is no use without one. "
      "Clients speak D-Bus to it over the socket, without a bus; qrtctl is such a client. Anybody "
      "may connect, and each request is authorized by itself.");
  page.paragraph(
      "Root needs no further authorization. About anybody else polkit decides where it can be "
      "reached; otherwise only the operations for everybody are theirs. The rights are added to "
      "the system with \"qrtctl install-rights\" and removed with \"qrtctl remove-rights\".");
  page.heading("RIGHTS");
  for (const auto& view : views) {
    page.item(view.right, fmt::format("For {}. {}", whoMay(view), sentenceFor(view.operation)));
  }
  page.heading("ENVIRONMENT");
  page.item("LISTEN_FDS, LISTEN_PID", "Tell of the listening socket, as systemd sets them.");
  page.item("STATE_DIRECTORY",
            "Where the daemon keeps its key and its rights; below /var/lib unless set.");
  page.item("CONFIGURATION_DIRECTORY",
            "Where system configuration settings are kept; below /etc unless set.");
  page.heading("FILES");
  page.item(defaultSocketPath, "The socket.");
  page.item("/usr/share/polkit-1/actions", "Holds a file for each right.");
  page.heading("\"EXIT STATUS\"");
  page.item("0", "The last client has left, or the daemon has uninstalled itself.");
  page.item("1", "It was not started as root or without a socket.");
  page.heading("\"SEE ALSO\"");
  page.line("\\fBqrtctl\\fR(1), \\fBsystemd.socket\\fR(5), \\fBpolkit\\fR(8)");
  return std::move(page).text();
}

}  // namespace qrt
