#include "client/cli/generated/GeneratedText.h"

namespace qrt {

// Each asks "qrtctl complete" for the candidates and their help. Without a candidate, the shell
// completes paths.

std::string bashCompletion(const OperationDescriptions&) {
  return R"bash(# Completion of qrtctl for bash.
_qrtctl() {
  mapfile -t COMPREPLY < <(qrtctl complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null | cut -f 1)
}
complete -o default -F _qrtctl qrtctl
)bash";
}

std::string zshCompletion(const OperationDescriptions&) {
  return R"zsh(#compdef qrtctl
# Completion of qrtctl for zsh.
local -a lines=(${(f)"$(qrtctl complete -- "${(@Q)words[2,CURRENT-1]}" "$PREFIX" 2>/dev/null)"})
local -a candidates=(${${lines//:/\\:}/$'\t'/:})
if (( $#candidates )); then
  _describe qrtctl candidates
else
  _files
fi
)zsh";
}

std::string fishCompletion(const OperationDescriptions&) {
  return R"fish(# Completion of qrtctl for fish.
function __qrtctl_candidates
    qrtctl complete -- (commandline -opc)[2..-1] "$(commandline -ct)" 2>/dev/null
end
complete -c qrtctl -n 'test -n "$(__qrtctl_candidates)"' -f -a '(__qrtctl_candidates)'
)fish";
}

}  // namespace qrt
