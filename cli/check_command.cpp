#include "check_command.h"

#include "exit_status.h"
#include "rule_loader.h"
#include "text_output.h"

namespace cli {

int runCheck(const CheckOptions& options) {
    const LoadedRules rules = loadRules(*options.type, {.files = options.ruleFiles,
                                                        .maxErrors = options.maxErrors,
                                                        .isQuiet = options.isQuiet,
                                                        .threads = options.threads});
    if (!options.isQuiet) {
        printMessage(withCommas(rules.book.ruleCount()) + " rules, " + withCommas(rules.badLines) +
                     " bad lines, " + secondsText(rules.seconds));
    }
    return rules.badLines == 0 ? EXIT_YES : EXIT_NO;
}

}  // namespace cli
