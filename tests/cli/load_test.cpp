// Rule files: many, long and odd ones, and where the rules in them are.
#include <algorithm>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "cli/command_runner.h"

namespace rs::test {

namespace {

std::string addressOf(uint32_t i) {
    return "10." + std::to_string(i >> 16U) + '.' + std::to_string(i >> 8U & 255U) + '.' +
           std::to_string(i & 255U);
}

class RuleFiles : public CommandTest {
protected:
    // Rules first to first + count - 1, a line each. more(i) goes before the line of rule i.
    template <typename More>
    std::string rulesWith(uint32_t first, uint32_t count, const More& more) {
        std::string text;
        for (uint32_t i = first; i < first + count; ++i) {
            const std::string before = more(i);
            lastLine += static_cast<uint32_t>(std::count(before.begin(), before.end(), '\n')) + 1;
            text += before + addressOf(i) + '\n';
            allAnswers += addressOf(i) + '\t' + addressOf(i) +
                          "\trules:" + std::to_string(lastLine) + "\t0\t" +
                          std::to_string(lastLine) + '\n';
            allKeys += addressOf(i) + '\n';
        }
        return text;
    }

    // Each rule is found at its line, with any number of threads.
    void expectEachRuleAtItsPlace(const std::string& rules) {
        writeFile("rules", rules);
        for (const char* threads : {"1", "2", "7"}) {
            const std::string command = "match --skip-bad -t ip -r rules -j ";
            EXPECT_EQ(allAnswers, run(command + threads, allKeys).output) << threads;
        }
    }

    uint32_t lastLine = 0;
    std::string allAnswers;
    std::string allKeys;
};

TEST_F(RuleFiles, AreLoadedInPartsOfWholeLines) {
    expectEachRuleAtItsPlace(rulesWith(0, 60000, [](uint32_t) { return std::string(); }));
}

TEST_F(RuleFiles, HaveLinesWithoutRules) {
    expectEachRuleAtItsPlace(rulesWith(0, 40000, [](uint32_t i) {
        return std::string(i % 100 == 63 ? "# a comment\n\nno rule\n" : "") +
               (i % 11 == 0 ? "\r\n" : "");
    }));
}

// Texts are found by positions of 16 bits within 64 rules, and by longer ones where these are too short.
TEST_F(RuleFiles, HaveLongLinesBetweenRules) {
    for (const uint32_t length : {65000U, 65536U, 70000U}) {
        for (const uint32_t place : {0U, 1U, 62U, 63U}) {
            SCOPED_TRACE(std::to_string(length) + " bytes before rule " + std::to_string(place));
            lastLine = 0;
            allAnswers.clear();
            allKeys.clear();
            expectEachRuleAtItsPlace(rulesWith(0, 200, [length, place](uint32_t i) {
                return i % 64 == place && i / 64 != 1 ? '#' + std::string(length, 'x') + '\n'
                                                      : std::string();
            }));
        }
    }
}

TEST_F(RuleFiles, HaveBlanksAroundTheirRules) {
    writeFile("rules",
              " 10.0.0.1 \t7\r\n"
              "\t10.0.0.2\t \n"
              "\r10.0.0.3 \r\n"
              "10.0.0.4\t1\t 2 \n"
              "  10.0.0.5");
    EXPECT_EQ(
        "10.0.0.1\t10.0.0.1\trules:1\t7\t1\n"
        "10.0.0.3\t10.0.0.3\trules:3\t0\t3\n"
        "10.0.0.4\t10.0.0.4\trules:4\t1\t2\n"
        "10.0.0.5\t10.0.0.5\trules:5\t0\t5\n",
        run("match --skip-bad -t ip -r rules 10.0.0.1 10.0.0.3 10.0.0.4 10.0.0.5").output);
}

TEST_F(RuleFiles, AreInTheOrderOfTheCommandLine) {
    std::string options;
    std::string expected;
    std::string keys;
    uint32_t line = 0;
    for (uint32_t file = 0; file < 20; ++file) {
        const std::string name = "rules" + std::to_string(file);
        // The first file that has a rule wins, and some files have none.
        std::string rules = "10.255.0.1\n";
        for (uint32_t i = 0; file % 5 != 4 && i < 300; ++i) {
            const std::string address = addressOf(file * 1000 + i);
            rules += address + '\n';
            expected += address + '\t' + address + '\t' + name + ':' + std::to_string(i + 2) +
                        "\t0\t" + std::to_string(line + i + 2) + '\n';
            keys += address + '\n';
        }
        writeFile(name, file % 5 == 4 ? "# empty\n" : rules);
        line += file % 5 == 4 ? 1 : 301;
        options += " -r " + name;
    }
    expected += "10.255.0.1\t10.255.0.1\trules0:1\t0\t1\n";
    for (const char* threads : {"1", "2", "8"}) {
        EXPECT_EQ(expected,
                  run("match -t ip" + options + " -j " + threads, keys + "10.255.0.1\n").output)
            << threads;
    }
}

TEST_F(RuleFiles, MayBeStandardInputAmongOthers) {
    writeFile("first", "10.0.0.1\n");
    writeFile("last", "10.0.0.3\n");
    EXPECT_EQ(
        "10.0.0.1\t10.0.0.1\tfirst:1\t0\t1\n"
        "10.0.0.2\t10.0.0.2\t-:1\t0\t2\n"
        "10.0.0.3\t10.0.0.3\tlast:1\t0\t3\n",
        run("match -t ip -r first -r - -r last 10.0.0.1 10.0.0.2 10.0.0.3 -j 3", "10.0.0.2\n")
            .output);
}

TEST_F(RuleFiles, HaveTheirBadLinesReportedInOrder) {
    std::string good;
    for (uint32_t i = 0; i < 20000; ++i) {
        good += addressOf(i) + '\n';
    }
    writeFile("one", "bad1\n" + good + "bad2\n");
    writeFile("two", good + "10.0.0.1\tvalue\n10.0.0.1\t1\t0\n");
    const std::string expected =
        "one:1: error: not an IPv4 or IPv6 address: bad1\n"
        "one:20002: error: not an IPv4 or IPv6 address: bad2\n"
        "two:20001: error: value is not a number up to 4294967295: value: 10.0.0.1\\tvalue\n"
        "two:20002: error: id is not a number from 1 to 4294967295: 0: 10.0.0.1\\t1\\t0\n";
    for (const std::string threads : {"1", "2", "8"}) {
        const CommandResult result = run("check -q --max-errors 0 -t ip one two -j " + threads);
        EXPECT_EQ(1, result.status);
        EXPECT_EQ(expected, result.messages) << threads;
        // What is bad before a file that cannot be read is said, too.
        EXPECT_EQ(expected + "ruleset: error: three: No such file or directory\n",
                  run("check -q -t ip one two three one -j " + threads).messages);
    }
}

TEST_F(RuleFiles, MayBePipes) {
    const CommandResult result = runScript(
        "mkfifo pipe && { { yes 10.0.0.1 | head -n 100000; echo 10.0.0.2; } >pipe & } && "
        "$ruleset match -t ip -r pipe 10.0.0.2");
    EXPECT_EQ("10.0.0.2\t10.0.0.2\tpipe:100001\t0\t100001\n", result.output);
}

TEST_F(RuleFiles, HaveLinesOfSixtyFourMebibytesAtMost) {
    const std::string lineOf =
        "{ echo 10.0.0.1; head -c $length /dev/zero | tr '\\0' a; echo; "
        "echo 10.0.0.2; } >rules; $ruleset check -t ip rules";
    const CommandResult longest = runScript("length=67108864; " + lineOf);
    EXPECT_EQ(1, longest.status);
    EXPECT_NE(std::string::npos, longest.messages.find("rules:2: error: not an IPv4 or IPv6"));
    EXPECT_NE(std::string::npos, longest.messages.find("2 rules, 1 bad lines"));
    const CommandResult longer = runScript("length=67108865; " + lineOf);
    EXPECT_EQ(2, longer.status);
    EXPECT_EQ("ruleset: error: rules:2: line over the limit of 64 MiB\n", longer.messages);
}

}  // namespace

}  // namespace rs::test
