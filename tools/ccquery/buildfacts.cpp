#include "tools/ccquery/buildfacts.h"

#include "tools/shared/report.h"

namespace ccquery {

using tools::jsonLine;
using tools::oneLine;

std::string versionText(const BuildFacts& facts) {
    return "ccquery " + oneLine(facts.version) + "\ncommit " + oneLine(facts.commit) +
           "\ncompiler " + oneLine(facts.compiler) + '\n';
}

std::string versionJson(const BuildFacts& facts) {
    return jsonLine(
        {{"version", facts.version}, {"commit", facts.commit}, {"compiler", facts.compiler}});
}

}  // namespace ccquery
