// The command line: reads the options, runs the command that they name, and turns exceptions into
// messages.
#include <ruleset_static.h>

#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

#include "check_command.h"
#include "exit_status.h"
#include "match_command.h"
#include "match_options.h"
#include "normalize_command.h"
#include "rule_type.h"
#include "text_output.h"
#include "workers.h"

namespace {

// CLI11 has exit codes of 100 and more for bad options. Users of a filter expect 2.
int exitStatusOf(const CLI::App& app, const CLI::ParseError& error) {
    return app.exit(error) == 0 ? cli::EXIT_YES : cli::EXIT_TROUBLE;
}

void addTypeOption(CLI::App& command, const cli::RuleType*& type) {
    command
        .add_option_function<std::string>(
            "-t,--type", [&type](const std::string& name) { type = cli::findRuleType(name); },
            "Type of the rules")
        ->required()
        ->check(CLI::IsMember(cli::ruleTypeNames()));
}

void addIpv6Flag(CLI::App& command) {
    command.add_flag_callback(
        "--no-ipv6", [] { rs::setLibraryOption(rs::RULE_OPTION_IPV6, 0); },
        "Take IPv4 addresses only in rules");
}

// Positional arguments, taken as they are written. Where CLI11 allows extra arguments, it reads
// "[::1]" as a list and removes the brackets. So no extra arguments are allowed; instead the
// largest number of arguments is expected, and take_all accepts any smaller number.
CLI::Option* addTexts(CLI::App& command, const char* name, std::vector<std::string>& texts,
                      const char* description) {
    return command.add_option(name, texts, description)
        ->expected(CLI::detail::expected_max_vector_size, CLI::detail::expected_max_vector_size)
        ->take_all()
        ->allow_extra_args(false);
}

void addThreadsOption(CLI::App& command, uint32_t& threads) {
    constexpr uint32_t LARGEST_COUNT = 1024;
    threads = cli::availableCores();
    command.add_option("-j,--threads", threads, "Threads; as many as there are cores unless given")
        ->check(CLI::Range(1U, LARGEST_COUNT));
}

void describeMatch(CLI::App& command, cli::MatchOptions& options) {
    addTypeOption(command, options.type);
    command.add_option("-r,--rules", options.ruleFiles, "Rule file; may be given several times")
        ->required()
        ->take_all()
        ->allow_extra_args(false);
    addTexts(command, "KEY", options.keys, "Keys; without any, the lines of standard input");
    command.add_flag("-v,--invert-match", options.invert, "Print the keys that no rule covers");
    command.add_flag("-c,--count", options.countOnly, "Print only how many keys are selected");
    command.add_flag("-q,--quiet", options.isQuiet,
                     "Print nothing, stop at the first key selected");
    command.add_option("-m,--max-count", options.maxCount, "Stop after that many selected keys");
    command.add_flag("--json", options.asJson, "Print one JSON object a line");
    command.add_flag("--skip-bad", options.skipBad, "Go on without the bad lines of rule files");
    command.add_flag("--explain", options.explain,
                     "Print the canonical form of one key, all rules that cover it and the winner");
    command.add_option("--mask", options.lookup.mask, "Mask of the lookup, for ipport rules")
        ->capture_default_str();
    addIpv6Flag(command);
    command.add_flag("--line-buffered", options.lineBuffered,
                     "Answer and write each line at once, in one thread");
    addThreadsOption(command, options.threads);
    command.add_flag("--unordered", options.unordered,
                     "Print lines in any order, which takes less memory");
}

void describeCheck(CLI::App& command, cli::CheckOptions& options) {
    addTypeOption(command, options.type);
    addTexts(command, "RULES", options.ruleFiles, "Rule files")->required();
    command.add_option("--max-errors", options.maxErrors, "Bad lines to show, 0 for all")
        ->capture_default_str();
    addIpv6Flag(command);
    command.add_flag("-q,--quiet", options.isQuiet, "No summary");
    addThreadsOption(command, options.threads);
}

void describeNormalize(CLI::App& command, cli::NormalizeOptions& options) {
    addTexts(command, "URL", options.urls, "URLs; without any, the lines of standard input");
    command.add_flag("--json", options.asJson, "Print one JSON object a line");
    command.add_flag("--keep-case", options.keepCase, "Keep the letter case of paths");
}

int run(int argc, char** argv) {
    CLI::App app("Tells which rule covers an address, a host name or a URL.", "ruleset");
    app.set_version_flag("--version", rs::getLibraryVersion());
    app.require_subcommand(1);

    cli::MatchOptions matchOptions;
    CLI::App* match = app.add_subcommand("match", "Which rule covers each key");
    describeMatch(*match, matchOptions);

    cli::CheckOptions checkOptions;
    CLI::App* check = app.add_subcommand("check", "Report the bad lines of rule files");
    describeCheck(*check, checkOptions);

    cli::NormalizeOptions normalizeOptions;
    CLI::App* normalize =
        app.add_subcommand("normalize", "Print scheme, host, port and path of URLs");
    describeNormalize(*normalize, normalizeOptions);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return exitStatusOf(app, error);
    }
    if (normalize->parsed()) {
        return cli::runNormalize(normalizeOptions);
    }
    return match->parsed() ? cli::runMatch(matchOptions) : cli::runCheck(checkOptions);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        cli::printMessage("error: out of memory");
    } catch (const std::exception& error) {
        cli::printMessage(std::string("error: ") + error.what());
    }
    return cli::EXIT_TROUBLE;
}
