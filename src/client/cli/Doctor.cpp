#include "client/cli/Doctor.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "base/Printable.h"
#include "client/cli/output/AlignedText.h"
#include "client/cli/output/Color.h"
#include "platform/Authority.h"
#include "platform/ServiceDiagnosis.h"
#include "platform/SystemFeatures.h"

namespace qrt {
namespace {

using State = Finding::State;

State stateOf(const SystemFeature& feature) {
  if (feature.isPresent) return State::good;
  return feature.isRequired ? State::problem : State::absent;
}

struct Appearance {
  State state;
  std::string_view word;
  Color color;
};

constexpr Appearance appearances[] = {
    {State::good, "ok", Color::green},
    {State::absent, "none", Color::yellow},
    {State::problem, "problem", Color::red},
};

constexpr const char* installRights = "sudo qrtctl install-rights";
constexpr const char* reinstallPackage = "sudo apt-get install --reinstall privileged-helper";
constexpr const char* reinstallRights = "sudo qrtctl remove-rights && sudo qrtctl install-rights";

Finding diagnoseAuthority(const AuthorityInUse& authority) {
  const auto state = authority.canAsk ? State::good : State::absent;
  return {"authority", authority.remedy.empty() ? state : State::problem, authority.name,
          authority.remedy};
}

const Appearance& appearanceOf(State state) {
  return *std::find_if(std::begin(appearances), std::end(appearances),
                       [&](const Appearance& appearance) { return appearance.state == state; });
}

}  // namespace

Findings diagnoseSystem(const OperationDescriptions& operations, const Authority& authority) {
  const auto inUse = authorityInUse();
  Findings findings{diagnoseAuthority(inUse)};
  findings.push_back(diagnoseRights(operations, inUse.canAsk ? declaredRights() : std::nullopt,
                                    authority.packagedRights()));
  if (auto problem = stateFolderProblem()) {
    findings.push_back(
        {"state folder", State::problem, std::move(problem->text), std::move(problem->remedy)});
  }
  for (const auto& feature : systemFeatures()) {
    findings.push_back({std::string(feature.name), stateOf(feature), std::string(feature.note)});
  }
  return findings;
}

Finding diagnoseRights(const OperationDescriptions& operations,
                       const std::optional<DeclaredRights>& declared, const std::string& package) {
  if (!declared) return {"rights", State::absent, "the authority does not list them"};
  std::size_t missing = 0;
  std::string changed;
  for (const auto& operation : operations) {
    const auto found = declared->find(operation.right);
    if (found == declared->end()) {
      ++missing;
    } else if (found->second != ruleOf(operation)) {
      changed += (changed.empty() ? "" : ", ") + operation.right;
    }
  }
  if (missing > 0) {
    return {"rights", State::problem,
            fmt::format("{} of {} are missing", missing, operations.size()),
            package.empty() ? installRights : reinstallPackage};
  }
  if (!changed.empty()) {
    return {"rights", State::problem, "changed: " + changed,
            package.empty() ? reinstallRights : reinstallPackage};
  }
  return {"rights", State::good, fmt::format("all {}", operations.size())};
}

bool hasProblem(const Findings& findings) {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.state == State::problem; });
}

Array recordsOf(const Findings& findings) {
  Array records;
  for (const auto& [subject, state, text, remedy] : findings) {
    Dictionary record{{"subject", subject}, {"state", appearanceOf(state).word}, {"text", text}};
    if (!remedy.empty()) record.emplace("remedy", remedy);
    records.push_back(std::move(record));
  }
  return records;
}

std::string textOf(const Findings& findings, bool isColored) {
  AlignedText lines;
  for (const auto& [subject, state, text, remedy] : findings) {
    const auto& [same, word, color] = appearanceOf(state);
    lines.add({isColored ? colored(color, word) : std::string(word), subject, printable(text)});
  }
  return lines.text();
}

std::string remediesOf(const Findings& findings) {
  std::string text;
  for (const auto& finding : findings) {
    if (finding.remedy.empty()) continue;
    text += text.empty() ? "\nWhat to do:\n" : "";
    text += fmt::format("  {}:\n    {}\n", finding.subject, printable(finding.remedy));
  }
  return text;
}

}  // namespace qrt
