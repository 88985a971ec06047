#include "client/cli/Doctor.h"

#include <algorithm>
#include <string_view>

#include "base/Printable.h"
#include "client/cli/output/AlignedText.h"
#include "client/cli/output/Color.h"

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

const Appearance& appearanceOf(State state) {
  return *std::find_if(std::begin(appearances), std::end(appearances),
                       [&](const Appearance& appearance) { return appearance.state == state; });
}

}  // namespace

std::vector<Finding> diagnoseSystem(const AuthorityInUse& authority,
                                    const std::vector<SystemFeature>& features) {
  std::vector<Finding> findings{
      {"authority", authority.canAsk ? State::good : State::absent, authority.name}};
  for (const auto& feature : features) {
    findings.push_back({std::string(feature.name), stateOf(feature), std::string(feature.note)});
  }
  return findings;
}

bool hasProblem(const std::vector<Finding>& findings) {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.state == State::problem; });
}

Array recordsOf(const std::vector<Finding>& findings) {
  Array records;
  for (const auto& [subject, state, text] : findings) {
    records.push_back(
        Dictionary{{"subject", subject}, {"state", appearanceOf(state).word}, {"text", text}});
  }
  return records;
}

std::string textOf(const std::vector<Finding>& findings, bool isColored) {
  AlignedText lines;
  for (const auto& [subject, state, text] : findings) {
    const auto& [same, word, color] = appearanceOf(state);
    lines.add({isColored ? colored(color, word) : std::string(word), subject, printable(text)});
  }
  return lines.text();
}

}  // namespace qrt
