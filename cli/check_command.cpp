#include "check_command.h"

#include "rule_loader.h"
#include "text_output.h"

namespace cli {

int runCheck(const CheckOptions& options) {
    const LoadedRules rules = loadRules(
        *options.type,
        {.files = options.ruleFiles, .maxErrors = options.maxErrors, .isQuiet = options.isQuiet});
    if (!options.isQuiet) {
        printMessage(withCommas(rules.book.ruleCount()) + " rules, " + withCommas(rules.badLines) +
                     " bad lines, " + secondsText(rules.seconds));
    }
    return rules.badLines == 0 ? 0 : 1;
}

}  // namespace cli
