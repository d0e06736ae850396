#include <string>

#include "cli/command_runner.h"

namespace rs::test {

namespace {

using ExplainFlag = CommandTest;

TEST_F(ExplainFlag, PrintsKeyCoveringRulesAndWinner) {
    writeFile("rules",
              "# lists\n"
              "10.0.0.0/8\t7\n"
              "192.0.2.1\n"
              "10.1.2.3\t8\t80\n"
              "0.0.0.0-255.255.255.255\n");
    const CommandResult result = run("match --explain -t ip -r rules 10.1.2.3");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(
        "key\t10.1.2.3\n"
        "covers\t10.0.0.0/8\trules:2\n"
        "covers\t10.1.2.3\trules:4\n"
        "covers\t0.0.0.0-255.255.255.255\trules:5\n"
        "winner\t10.0.0.0/8\trules:2\n",
        result.output);
}

TEST_F(ExplainFlag, ShowsTheFormInWhichAKeyIsLookedUp) {
    constexpr struct {
        const char* type;
        const char* rule;
        const char* key;
        const char* canonical;
    } ROWS[] = {
        {"ip", "::", " ::FFFF:10.1.2.3 ", "::ffff:10.1.2.3"},
        {"ip", "::", "2001:0DB8:0:0::1", "2001:db8::1"},
        {"ip", "::", " 192.0.2.1", "192.0.2.1"},
        {"domain", "x", "WWW.Example.COM.", "www.example.com"},
        {"domain", "x", "B%C3%BCcher.example", "xn--bcher-kva.example"},
        {"url", "x", "HTTP://user@EXAMPLE.com:8080/%41?b+c", "http://example.com:8080/a?b c"},
        {"url", "x", "Example.com", "example.com/"},
        {"ipport", "*;*;*;1;1", " 10.0.0.1:80 [::1]:9 ", "10.0.0.1:80 [::1]:9"},
        {"packetfilter", "tcp;*;*;*;1", "10.0.0.1:80 10.0.0.2:9 ", "10.0.0.1:80 10.0.0.2:9"},
        {"compound", "9;9;*;9;0;0", " a=1 b=2\t", "a=1 b=2"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.key);
        writeFile("rules", std::string(row.rule) + "\n");
        const CommandResult result = run("match --explain -t " + std::string(row.type) +
                                         " -r rules '" + std::string(row.key) + "'");
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("key\t" + std::string(row.canonical) + "\nwinner\tnone\n", result.output);
    }
}

// Rules that add nothing to earlier ones stay out of a group, but they cover the key.
TEST_F(ExplainFlag, NamesRulesThatAreSuperfluous) {
    writeFile("rules", "10.0.0.1\n10.0.0.1\n10.0.0.0/8\n10.0.0.0/16\n");
    EXPECT_EQ(
        "key\t10.0.0.1\n"
        "covers\t10.0.0.1\trules:1\n"
        "covers\t10.0.0.1\trules:2\n"
        "covers\t10.0.0.0/8\trules:3\n"
        "covers\t10.0.0.0/16\trules:4\n"
        "winner\t10.0.0.1\trules:1\n",
        run("match --explain -t ip -r rules 10.0.0.1").output);
}

TEST_F(ExplainFlag, NamesTheFileOfEachRule) {
    writeFile("rules", "www.example.com\n*.example.com\nexample.com\n");
    writeFile("more", "\n*\n*.example.com\n");
    EXPECT_EQ(
        "key\twww.example.com\n"
        "covers\t*\tmore:2\n"
        "covers\t*.example.com\tmore:3\n"
        "covers\twww.example.com\trules:1\n"
        "covers\t*.example.com\trules:2\n"
        "winner\t*\tmore:2\n",
        run("match --explain -t domain -r more -r rules www.example.com").output);
}

// Ranges of 128-bit addresses are asked in the order in which they were first named, so that the
// winner is not the first rule that covers the key.
TEST_F(ExplainFlag, NamesRulesThatStandBeforeTheWinner) {
    writeFile("rules",
              "2001:db8::/32;*;*;*;2\n"
              "2001:db8::/48;*;*;*;1\n"
              "2001:db8::/32;*;*;*;1\n");
    EXPECT_EQ(
        "key\t[2001:db8::1]:1 [::1]:1\n"
        "covers\t2001:db8::/48;*;*;*;1\trules:2\n"
        "covers\t2001:db8::/32;*;*;*;1\trules:3\n"
        "winner\t2001:db8::/32;*;*;*;1\trules:3\n",
        run("match --explain --mask 1 -t ipport -r rules '[2001:db8::1]:1 [::1]:1'").output);
}

// A host with sixteen long paths is searched in another way, in which "/abcde" covers "/abcdef".
TEST_F(ExplainFlag, AsksRulesOfACrowdedHostAsTheGroupDoes) {
    std::string others;
    for (int i = 10; i < 24; ++i) {
        others += "example.com/other" + std::to_string(i) + "\n";
    }
    writeFile("rules", "example.com/abcde\nexample.com/abcde\n" + others);
    EXPECT_EQ(
        "key\thttp://example.com/abcdef\n"
        "covers\texample.com/abcde\trules:1\n"
        "covers\texample.com/abcde\trules:2\n"
        "winner\texample.com/abcde\trules:1\n",
        run("match --explain -t url -r rules http://example.com/abcdef").output);
    writeFile("rules", "example.com/abcde\nexample.com/abcde\n");
    EXPECT_EQ("key\thttp://example.com/abcdef\nwinner\tnone\n",
              run("match --explain -t url -r rules http://example.com/abcdef").output);
}

TEST_F(ExplainFlag, HeedsTheMask) {
    writeFile("rules", "*;*;*;*;1\n*;*;*;*;2\n*;*;*;*;3\n");
    EXPECT_EQ(
        "key\t10.0.0.1:1 10.0.0.2:2\n"
        "covers\t*;*;*;*;2\trules:2\n"
        "covers\t*;*;*;*;3\trules:3\n"
        "winner\t*;*;*;*;2\trules:2\n",
        run("match --explain --mask 2 -t ipport -r rules '10.0.0.1:1 10.0.0.2:2'").output);
}

TEST_F(ExplainFlag, TakesNoRulesAtAll) {
    writeFile("rules", "# none\n");
    const CommandResult result = run("match --explain -t ip -r rules 10.0.0.1");
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("key\t10.0.0.1\nwinner\tnone\n", result.output);
}

TEST_F(ExplainFlag, RefusesABadKey) {
    writeFile("rules", "10.0.0.1\n");
    const CommandResult result = run("match --explain -t ip -r rules 10.0.0.256");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.output);
    EXPECT_NE(std::string::npos,
              result.messages.find("ruleset: error: field above 255: 256: 10.0.0.256\n"));
}

TEST_F(ExplainFlag, TakesOneKey) {
    writeFile("rules", "10.0.0.1\n");
    for (const char* keys : {"", "10.0.0.1 10.0.0.2"}) {
        SCOPED_TRACE(keys);
        const CommandResult result =
            run(std::string("match --explain -t ip -r rules ") + keys, "10.0.0.1\n");
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.output);
        EXPECT_EQ("ruleset: error: --explain takes one key\n", result.messages);
    }
}

}  // namespace

}  // namespace rs::test
