#include "tools/shared/buildfacts.h"

#include "tools/shared/report.h"

namespace tools {

std::string versionText(const std::string& program, const BuildFacts& facts) {
    return program + ' ' + oneLine(facts.version) + "\ncommit " + oneLine(facts.commit) +
           "\ncompiler " + oneLine(facts.compiler) + '\n';
}

std::string versionJson(const BuildFacts& facts) {
    return jsonLine(
        {{"version", facts.version}, {"commit", facts.commit}, {"compiler", facts.compiler}});
}

}  // namespace tools
