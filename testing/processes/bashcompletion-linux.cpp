#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "testing/processes/bashcompletion.h"
#include "testing/scopes/tempfolder.h"

namespace testing_support {
namespace {

/// Types `input` into a bash that has read `script`. Returns the lines that it writes to descriptor
/// 9.
std::vector<std::string> linesOfBash(const BashCompletion& completion, const std::string& script,
                                     const std::string& input) {
    const TempFolder temp;
    const std::string read = temp.write("script", script);
    const std::string typed = temp.write("typed", "source '" + read + "'\n" + input + "exit 0\n");
    const std::string written = temp.utf8("written");
    // In a session of its own, since an interactive bash takes the terminal of the one that it is
    // in.
    const std::string command =
        "cd '" + completion.folder.string() +
        "' && setsid --wait timeout 60 env -i PATH=\"$PATH\" LC_ALL=C.UTF-8 "
        "INPUTRC=/dev/null bash --norc --noprofile -i <'" +
        typed + "' 9>'" + written + "' >/dev/null 2>&1";
    // NOLINTNEXTLINE(cert-env33-c): the texts in the command are the test's own
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("bash has failed");
    }
    std::vector<std::string> lines;
    std::ifstream stream(written);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

std::vector<std::string> BashCompletion::repliesTo(const std::vector<std::string>& lines) const {
    const std::string probe = script + R"(
compopt() { options+=" $*"; }
probe() {
    local options=''
    _)" + program + R"( "$@"
    printf '%s%s\n' "${COMPREPLY[*]}" "$options" >&9
    COMPREPLY=()
}
complete -F probe )" + program +
                              '\n';
    std::string input;
    for (const std::string& line : lines) {
        input += line + "\t\x15\n";  // Ctrl+U takes the line back
    }
    return linesOfBash(*this, probe, input);
}

std::vector<std::string> BashCompletion::argumentsOf(const std::vector<std::string>& lines) const {
    std::string input;
    for (const std::string& line : lines) {
        input += line + "\necho >&9\n";
    }
    return linesOfBash(*this, script + program + "() { printf '<%s>' \"$@\" >&9; }\n", input);
}

}  // namespace testing_support
