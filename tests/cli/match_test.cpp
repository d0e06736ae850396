#include <string>

#include "cli/command_runner.h"

namespace rs::test {

namespace {

class MatchCommand : public CommandTest {
protected:
    MatchCommand() {
        writeFile("rules",
                  "10.0.0.0/8\t7\n"
                  "\n"
                  "# a comment\n"
                  "192.0.2.1\r\n"
                  "2001:db8::/32\t5\t77");
    }
};

TEST_F(MatchCommand, PrintsKeyRulePlaceValueAndId) {
    const CommandResult result = run("match -t ip -r rules 10.1.2.3 192.0.2.1 2001:db8::9");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(
        "10.1.2.3\t10.0.0.0/8\trules:1\t7\t1\n"
        "192.0.2.1\t192.0.2.1\trules:4\t0\t4\n"
        "2001:db8::9\t2001:db8::/32\trules:5\t5\t77\n",
        result.output);
}

TEST_F(MatchCommand, ReadsKeysFromStandardInput) {
    const CommandResult result = run("match -t ip -r rules", "8.8.8.8\r\n\n10.1.2.3");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("10.1.2.3\t10.0.0.0/8\trules:1\t7\t1\n", result.output);
}

TEST_F(MatchCommand, SaysOnStandardErrorHowManyRulesAndKeys) {
    const CommandResult result = run("match -t ip -r rules", "8.8.8.8\n10.1.2.3\n");
    EXPECT_NE(std::string::npos, result.messages.find("3 rules loaded in "));
    EXPECT_NE(std::string::npos, result.messages.find("2 keys in "));
    EXPECT_NE(std::string::npos, result.messages.find("1 matched"));
}

TEST_F(MatchCommand, NumbersLinesOverAllFiles) {
    writeFile("more", "# one\n198.51.100.7\n");
    const CommandResult result = run("match -t ip -r rules -r more 198.51.100.7");
    EXPECT_EQ("198.51.100.7\t198.51.100.7\tmore:2\t0\t7\n", result.output);
}

TEST_F(MatchCommand, ExitsAsGrepDoes) {
    EXPECT_EQ(0, run("match -t ip -r rules 10.0.0.1").status);
    EXPECT_EQ(1, run("match -t ip -r rules 8.8.8.8").status);
    EXPECT_EQ(2, run("match -t ip -r rules bogus").status);
    EXPECT_EQ(2, run("match -t ip -r nowhere 10.0.0.1").status);
    EXPECT_EQ(2, run("match -t ip -r . 10.0.0.1").status);
    EXPECT_EQ(2, run("match -t nothing -r rules 10.0.0.1").status);
    EXPECT_EQ(2, run("match -t ip").status);
    EXPECT_EQ(2, run("--nonsense").status);
    EXPECT_EQ(0, run("--help").status);
}

TEST_F(MatchCommand, GoesOnAfterBadKeyAndExitsWithTwo) {
    const CommandResult result = run("match -t ip -r rules", "256.1.1.1\n10.0.0.1\n");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("10.0.0.1\t10.0.0.0/8\trules:1\t7\t1\n", result.output);
    EXPECT_NE(std::string::npos,
              result.messages.find("-:1: error: field above 255: 256: 256.1.1.1\n"));
}

TEST_F(MatchCommand, QuietSaysNothingAndForgivesBadKeysOnceSomethingMatched) {
    CommandResult result = run("match -q -t ip -r rules", "bogus\n10.0.0.1\nnever asked\n");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.output);
    EXPECT_EQ("-:1: error: not an IPv4 or IPv6 address: bogus\n", result.messages);
    EXPECT_EQ(2, run("match -q -t ip -r rules", "bogus\n8.8.8.8\n").status);
    EXPECT_EQ(1, run("match -q -t ip -r rules", "8.8.8.8\n").status);
}

TEST_F(MatchCommand, InvertPrintsKeysThatNoRuleCovers) {
    const CommandResult result = run("match -v -t ip -r rules", "10.0.0.1\n8.8.8.8\n::1\n");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("8.8.8.8\n::1\n", result.output);
    EXPECT_EQ(1, run("match -v -t ip -r rules 10.0.0.1").status);
}

TEST_F(MatchCommand, CountPrintsNumberOfSelectedKeys) {
    const std::string keys = "10.0.0.1\n8.8.8.8\n10.0.0.2\n";
    EXPECT_EQ("2\n", run("match -c -t ip -r rules", keys).output);
    EXPECT_EQ("1\n", run("match -c -v -t ip -r rules", keys).output);
    const CommandResult none = run("match -c -t ip -r rules", "8.8.8.8\n");
    EXPECT_EQ("0\n", none.output);
    EXPECT_EQ(1, none.status);
}

TEST_F(MatchCommand, StopsAfterMaxCount) {
    const std::string keys = "10.0.0.1\n8.8.8.8\n10.0.0.2\n10.0.0.3\n";
    EXPECT_EQ("2\n", run("match -c -m 2 -t ip -r rules", keys).output);
    EXPECT_EQ("10.0.0.1\t10.0.0.0/8\trules:1\t7\t1\n",
              run("match -m 1 -t ip -r rules", keys).output);
    EXPECT_EQ(1, run("match -m 0 -t ip -r rules", keys).status);
}

TEST_F(MatchCommand, JsonHoldsTheSameFields) {
    EXPECT_EQ(
        "{\"key\":\"::ffff:192.0.2.1\",\"rule\":\"192.0.2.1\",\"file\":\"rules\",\"line\":4,"
        "\"value\":0,\"id\":4}\n",
        run("match --json -t ip -r rules ::ffff:192.0.2.1").output);
    EXPECT_EQ("{\"key\":\"8.8.8.8\"}\n", run("match --json -v -t ip -r rules 8.8.8.8").output);
}

TEST_F(MatchCommand, BadRuleStopsTheLoad) {
    writeFile("bad", "10.0.0.1\n10.0.0.0/33\n10.0.0.2\t1\t0\n");
    const CommandResult result = run("match -t ip -r bad 10.0.0.1");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.output);
    EXPECT_EQ(
        "bad:2: error: prefix length must be 1 to 32: 33: 10.0.0.0/33\n"
        "bad:3: error: id is not a number from 1 to 4294967295: 0: 10.0.0.2\\t1\\t0\n"
        "ruleset: error: 2 bad lines in the rules; --skip-bad goes on without them\n",
        result.messages);
}

TEST_F(MatchCommand, SkipBadGoesOnAndSaysHowMany) {
    writeFile("bad", "10.0.0.0/33\n10.0.0.1\n");
    const CommandResult result = run("match --skip-bad -t ip -r bad 10.0.0.1");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("10.0.0.1\t10.0.0.1\tbad:2\t0\t2\n", result.output);
    EXPECT_NE(std::string::npos, result.messages.find("1 bad lines skipped"));
}

TEST_F(MatchCommand, ShowsTwentyBadLinesAndCountsTheRest) {
    std::string rules;
    for (int i = 0; i < 25; ++i) {
        rules += "x\n";
    }
    writeFile("bad", rules);
    const std::string messages = run("match -t ip -r bad 10.0.0.1").messages;
    EXPECT_NE(std::string::npos, messages.find("bad:20: "));
    EXPECT_EQ(std::string::npos, messages.find("bad:21: "));
    EXPECT_NE(std::string::npos, messages.find("... and 5 more\n"));
}

TEST_F(MatchCommand, ReadsRulesFromStandardInputWhenKeysAreGiven) {
    EXPECT_EQ("10.0.0.1\t10.0.0.0/8\t-:1\t0\t1\n",
              run("match -t ip -r - 10.0.0.1", "10.0.0.0/8\n").output);
    EXPECT_EQ(2, run("match -t ip -r -", "10.0.0.0/8\n").status);
}

TEST_F(MatchCommand, DropsByteOrderMark) {
    writeFile("marked",
              "\xEF\xBB\xBF"
              "10.0.0.1\n");
    EXPECT_EQ(0, run("match -t ip -r marked 10.0.0.1").status);
}

TEST_F(MatchCommand, EndsQuietlyWhenItsReaderIsGone) {
    std::string keys;
    for (int i = 0; i < 20000; ++i) {
        keys += "10.0.0.1\n";
    }
    const CommandResult result = run("match -t ip -r rules | head -n 1", keys);
    EXPECT_EQ("10.0.0.1\t10.0.0.0/8\trules:1\t7\t1\n", result.output);
    EXPECT_EQ(std::string::npos, result.messages.find("error"));
}

TEST_F(MatchCommand, TakesLinesLongerThanItsBuffer) {
    writeFile("long", std::string(3000000, '1') + "\n10.0.0.1\n");
    const CommandResult result = run("match --skip-bad -t ip -r long 10.0.0.1");
    EXPECT_EQ(0, result.status);
    EXPECT_LT(result.messages.size(), 1000U);
}

TEST_F(MatchCommand, TakesEmptyFiles) {
    writeFile("empty", "");
    EXPECT_EQ(1, run("match -t ip -r empty", "10.0.0.1\n").status);
    EXPECT_EQ(1, run("match -t ip -r /dev/null", "").status);
}

}  // namespace

}  // namespace rs::test
