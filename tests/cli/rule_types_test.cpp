// What the command does alike for every rule type but IP, and what it says of bad keys and rules.
#include <string>
#include <string_view>
#include <vector>

#include "cli/command_runner.h"

namespace rs::test {

namespace {

// What a test asks of each type alike.
struct TypeExample {
    const char* name;
    const char* rules;         // three; the last two have the value 7 and the id 70
    const char* covered[3];    // a key for each
    const char* uncovered;     // a key for none
    const char* badKey;        // no key
    const char* whyBad;        // what is said of it
    const char* badRule;       // no rule
    const char* whyBadRule;    // what is said of it
    const char* ruleTexts[3];  // the rules without value and id
};

constexpr TypeExample EXAMPLES[] = {
    {"domain",
     "www.example.com\n*.example.com\t7\t70\nB\xC3\xBC"
     "cher.example\t7\t70\n",
     {"WWW.Example.com.", "a.b.example.com", "xn--bcher-kva.example"},
     "example.com",
     "a..b",
     "empty label",
     "a*b",
     "'*' only stands in front: \"*.\" and a host name, or alone",
     {"www.example.com", "*.example.com",
      "B\xC3\xBC"
      "cher.example"}},
    {"url",
     "example.com/a\nhttps://*.example.com:8443/x*y\t7\t70\n[2001:db8::1]/\t7\t70\n",
     {"http://user@EXAMPLE.com/A?q", "https://www.example.com:8443/x1y2",
      "http://[2001:DB8:0::1]/any"},
     "https://example.com/a",
     "",
     "empty URL",
     "ftp://example.com",
     "a scheme other than http and https",
     {"example.com/a", "https://*.example.com:8443/x*y", "[2001:db8::1]/"}},
    {"ipport",
     "10.0.0.0/8;80,443;192.168.1.1-192.168.1.9;1-65535;0x10\n"
     "*;22;10.0.0.1;*;4294967295\t7\t70\n"
     "2001:db8::/32;*;::1,::2;443;1\t7\t70\n",
     {"10.1.2.3:443 192.168.1.9:9", "1.1.1.1:22 10.0.0.1:65535", "[2001:db8::1]:7 [::2]:443"},
     "10.1.2.3:81 192.168.1.9:9",
     "10.1.2.3:80",
     "not \"address:port address:port\", with an IPv6 address in brackets",
     "10.0.0.1;80;*;*",
     "five fields are needed: addresses;ports;addresses;ports;mask",
     {"10.0.0.0/8;80,443;192.168.1.1-192.168.1.9;1-65535;0x10", "*;22;10.0.0.1;*;4294967295",
      "2001:db8::/32;*;::1,::2;443;1"}},
    {"packetfilter",
     "tcp;10.0.0.0/8;80;192.168.0.0/16;1024-65535\n"
     "TCP;*;22;*;*\t7\t70\n"
     "tcp;2001:db8::/32;*;::1;443\t7\t70\n",
     {"10.1.2.3:80 192.168.1.9:1024", "1.1.1.1:22 2.2.2.2:1", "[2001:db8::1]:7 [::1]:443"},
     "10.1.2.3:80 192.168.1.9:1023",
     "[10.1.2.3]:80 192.168.1.9:1024",
     "not \"address:port address:port\", with an IPv6 address in brackets",
     "udp;*;22;*;*",
     "a protocol other than tcp",
     {"tcp;10.0.0.0/8;80;192.168.0.0/16;1024-65535", "TCP;*;22;*;*",
      "tcp;2001:db8::/32;*;::1;443"}},
    {"compound",
     "1-10,20;*;10.0.0.0/8;80;0;7\n100*;5;*;*;2;8\t7\t70\n*;*;2001:db8::/32;443;0;9\t7\t70\n",
     {"b=80 value=20 second=10.1.2.3", "value=100 list16=5", "a=443 first=2001:db8::1"},
     "a=80 value=11 first=10.1.2.3",
     "a=80,b=80",
     "not name=value pairs of a, b, value, first, second, list16 and list12",
     "*;*;*;80;0",
     "not six fields ranges;ranges;addresses;ranges;number;number",
     {"1-10,20;*;10.0.0.0/8;80;0;7", "100*;5;*;*;2;8", "*;*;2001:db8::/32;443;0;9"}},
};

// How a test is named for its type.
void PrintTo(const TypeExample& example, std::ostream* out) {
    *out << example.name;
}

std::string quoted(std::string_view text) {
    return " '" + std::string(text) + "'";
}

std::string nameOf(const ::testing::TestParamInfo<TypeExample>& info) {
    return info.param.name;
}

class EveryRuleType : public CommandTest, public ::testing::WithParamInterface<TypeExample> {
protected:
    EveryRuleType() { writeFile("rules", GetParam().rules); }

    [[nodiscard]] CommandResult match(const std::string& options, const std::string& keys,
                                      const std::string& input = "") const {
        return run("match -t " + std::string(GetParam().name) + " -r rules " + options + keys,
                   input);
    }

    // A key for each of the rules in their order, then the one that no rule covers.
    [[nodiscard]] static std::string keyLines() {
        std::string lines;
        for (const char* key : GetParam().covered) {
            lines += std::string(key) + "\n";
        }
        return lines + GetParam().uncovered + "\n";
    }
};

INSTANTIATE_TEST_SUITE_P(Types, EveryRuleType, ::testing::ValuesIn(EXAMPLES), nameOf);

TEST_P(EveryRuleType, PrintsKeyRulePlaceValueAndId) {
    const TypeExample& example = GetParam();
    const std::string expected = std::string(example.covered[0]) + "\t" + example.ruleTexts[0] +
                                 "\trules:1\t0\t1\n" + example.covered[1] + "\t" +
                                 example.ruleTexts[1] + "\trules:2\t7\t70\n" + example.covered[2] +
                                 "\t" + example.ruleTexts[2] + "\trules:3\t7\t70\n";
    const CommandResult byArgument =
        match("", quoted(example.covered[0]) + quoted(example.covered[1]) +
                      quoted(example.covered[2]) + quoted(example.uncovered));
    EXPECT_EQ(0, byArgument.status);
    EXPECT_EQ(expected, byArgument.output);
    const CommandResult byInput = match("", "", keyLines());
    EXPECT_EQ(0, byInput.status);
    EXPECT_EQ(expected, byInput.output);
    EXPECT_NE(std::string::npos, byInput.messages.find("3 rules loaded in "));
    EXPECT_NE(std::string::npos, byInput.messages.find(", 3 matched\n"));
}

TEST_P(EveryRuleType, ExitsAsGrepDoes) {
    const TypeExample& example = GetParam();
    EXPECT_EQ(0, match("", quoted(example.covered[0])).status);
    EXPECT_EQ(1, match("", quoted(example.uncovered)).status);
    EXPECT_EQ(2, match("", quoted(example.badKey)).status);
}

TEST_P(EveryRuleType, SelectsTheOtherKeysWhenInverted) {
    const CommandResult result = match("-v", "", keyLines());
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(std::string(GetParam().uncovered) + "\n", result.output);
    EXPECT_EQ(1, match("-v", quoted(GetParam().covered[2])).status);
}

TEST_P(EveryRuleType, CountsSelectedKeys) {
    EXPECT_EQ("3\n", match("-c", "", keyLines()).output);
    EXPECT_EQ("1\n", match("-c -v", "", keyLines()).output);
    EXPECT_EQ("2\n", match("-c -m 2", "", keyLines()).output);
}

TEST_P(EveryRuleType, StopsAfterMaxCount) {
    const TypeExample& example = GetParam();
    const CommandResult result = match("-m 1", "", keyLines());
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(std::string(example.covered[0]) + "\t" + example.ruleTexts[0] + "\trules:1\t0\t1\n",
              result.output);
}

TEST_P(EveryRuleType, QuietAnswersByItsStatusAlone) {
    const TypeExample& example = GetParam();
    // What stands behind the first key that is covered is not asked.
    const CommandResult covered = match("-q", quoted(example.covered[1]) + quoted(example.badKey));
    EXPECT_EQ(0, covered.status);
    EXPECT_EQ("", covered.output);
    EXPECT_EQ("", covered.messages);
    const CommandResult uncovered = match("-q", quoted(example.uncovered));
    EXPECT_EQ(1, uncovered.status);
    EXPECT_EQ("", uncovered.output);
    EXPECT_EQ("", uncovered.messages);
}

TEST_P(EveryRuleType, JsonHoldsTheSameFields) {
    const TypeExample& example = GetParam();
    EXPECT_EQ("{\"key\":\"" + std::string(example.covered[1]) + "\",\"rule\":\"" +
                  example.ruleTexts[1] +
                  "\",\"file\":\"rules\",\"line\":2,\"value\":7,\"id\":70}\n",
              match("--json", quoted(example.covered[1])).output);
    EXPECT_EQ("{\"key\":\"" + std::string(example.uncovered) + "\"}\n",
              match("--json -v", quoted(example.uncovered)).output);
}

TEST_P(EveryRuleType, SaysWhyAKeyIsBadAndGoesOn) {
    const TypeExample& example = GetParam();
    const CommandResult result = match("", quoted(example.badKey) + quoted(example.covered[0]));
    EXPECT_EQ(2, result.status);
    EXPECT_EQ(std::string(example.covered[0]) + "\t" + example.ruleTexts[0] + "\trules:1\t0\t1\n",
              result.output);
    EXPECT_NE(std::string::npos,
              result.messages.find("key:1: error: " + std::string(example.whyBad) + ": " +
                                   example.badKey + "\n"));
}

TEST_P(EveryRuleType, StopsAtBadRulesUnlessTheyAreSkipped) {
    const TypeExample& example = GetParam();
    writeFile("rules", std::string(example.badRule) + "\n" + example.rules);
    const std::string report =
        "rules:1: error: " + std::string(example.whyBadRule) + ": " + example.badRule + "\n";
    const CommandResult stopped = match("", quoted(example.covered[0]));
    EXPECT_EQ(2, stopped.status);
    EXPECT_EQ("", stopped.output);
    EXPECT_EQ(
        report + "ruleset: error: 1 bad lines in the rules; --skip-bad goes on without them\n",
        stopped.messages);
    const CommandResult skipped = match("--skip-bad", quoted(example.covered[0]));
    EXPECT_EQ(0, skipped.status);
    EXPECT_EQ(std::string(example.covered[0]) + "\t" + example.ruleTexts[0] + "\trules:2\t0\t2\n",
              skipped.output);
    EXPECT_EQ(0U, skipped.messages.find(report));
    EXPECT_NE(std::string::npos, skipped.messages.find("; 1 bad lines skipped\n"));
}

TEST_P(EveryRuleType, IsChecked) {
    const TypeExample& example = GetParam();
    const std::string check = "check -t " + std::string(example.name) + " rules";
    const CommandResult good = run(check);
    EXPECT_EQ(0, good.status);
    EXPECT_EQ("", good.output);
    EXPECT_EQ(0U, good.messages.find("ruleset: 3 rules, 0 bad lines, "));
    writeFile("rules", std::string(example.rules) + example.badRule + "\n");
    const CommandResult bad = run(check + " -q");
    EXPECT_EQ(1, bad.status);
    EXPECT_EQ("", bad.output);
    EXPECT_EQ("rules:4: error: " + std::string(example.whyBadRule) + ": " + example.badRule + "\n",
              bad.messages);
}

TEST_P(EveryRuleType, TakesRulesWithIpv6AddressesUnlessTheyAreSwitchedOff) {
    const TypeExample& example = GetParam();
    if (example.name == std::string_view("domain")) {
        EXPECT_EQ(0, run("check --no-ipv6 -t domain rules").status);
        return;
    }
    const CommandResult result =
        run("check -q --no-ipv6 -t " + std::string(example.name) + " rules");
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(0U, result.messages.find("rules:3: error: "));
    EXPECT_EQ(result.messages.size() - 1, result.messages.find('\n'));
    EXPECT_EQ(2, match("--no-ipv6", quoted(example.covered[0])).status);
    EXPECT_EQ(0, match("--no-ipv6 --skip-bad", quoted(example.covered[0])).status);
    EXPECT_EQ(1, match("--no-ipv6 --skip-bad", quoted(example.covered[2])).status);
}

using Keys = CommandTest;

TEST_F(Keys, OfTwoEndpointsAreRefusedInEveryOtherForm) {
    writeFile("ipport", "*;*;*;*;1\n");
    writeFile("packetfilter", "tcp;*;*;*;*\n");
    for (const std::string type : {"ipport", "packetfilter"}) {
        for (const char* key :
             {"", "10.0.0.1:80", "10.0.0.1 10.0.0.2", "10.0.0.1:80 10.0.0.2",
              "10.0.0.1:80 10.0.0.2:", "10.0.0.1:80,10.0.0.2:80", "10.0.0.1:65536 10.0.0.2:80",
              "10.0.0.1:-1 10.0.0.2:80", "10.0.0.1:+1 10.0.0.2:80", "10.0.0.1:80 10.0.0.2:80 x",
              "10.0.0:80 10.0.0.2:80", "2001:db8::1:80 10.0.0.2:80", "[10.0.0.1]:80 10.0.0.2:80",
              "[::1:80 10.0.0.2:80", "[::1]80 10.0.0.2:80", "*:80 10.0.0.2:80"}) {
            SCOPED_TRACE(key);
            const CommandResult result = run("match -t " + type + " -r " + type + quoted(key));
            EXPECT_EQ(2, result.status);
            EXPECT_NE(std::string::npos,
                      result.messages.find(
                          "key:1: error: not \"address:port address:port\", with an IPv6 address "
                          "in brackets: " +
                          std::string(key) + "\n"));
        }
    }
}

// Beside an IPv6 address an IPv4 one stands in mapped form, and so do both in an IPv6 rule.
TEST_F(Keys, OfTwoEndpointsMayMixFamilies) {
    writeFile("ipport", "::ffff:10.0.0.0/104;*;::1;*;1\n::1;*;::ffff:10.0.0.0/104;*;1\n");
    writeFile("packetfilter", "tcp;::ffff:10.0.0.0/104;*;::1;*\ntcp;::1;*;::ffff:10.0.0.0/104;*\n");
    for (const std::string type : {"ipport", "packetfilter"}) {
        const std::string match = "match -t " + type + " -r " + type;
        for (const char* key : {"10.0.0.1:80 [::1]:80", " [::FFFF:10.0.0.1]:80   [::1]:80 "}) {
            EXPECT_NE(std::string::npos,
                      run(match + quoted(key)).output.find("\t" + type + ":1\t"));
        }
        EXPECT_NE(std::string::npos,
                  run(match + " '[::1]:80\t10.0.0.1:80'").output.find("\t" + type + ":2\t"));
        EXPECT_EQ(1, run(match + " '[::1]:80 [::1]:80'").status);
        EXPECT_EQ(1, run(match + " '10.0.0.1:80 10.0.0.1:80'").status);
    }
}

TEST_F(Keys, WithPortZeroAreCoveredByNoRule) {
    writeFile("ipport", "*;*;*;*;1\n");
    writeFile("packetfilter", "tcp;*;*;*;*\n");
    for (const std::string type : {"ipport", "packetfilter"}) {
        EXPECT_EQ(1, run("match -t " + type + " -r " + type + " '1.1.1.1:0 2.2.2.2:1'").status);
        EXPECT_EQ(1, run("match -t " + type + " -r " + type + " '1.1.1.1:1 2.2.2.2:0'").status);
        EXPECT_EQ(0, run("match -t " + type + " -r " + type + " '1.1.1.1:1 2.2.2.2:1'").status);
    }
}

TEST_F(Keys, OfCompoundRulesAreTestedFieldByField) {
    writeFile("rules",
              "1-10,20;*;10.0.0.0/8;80;0;7\n"  // value, first or second, a or b
              "100*;5;*;*;2;8\n"               // value, list16 or list12
              "*;*;2001:db8::/32;443;0;9\n");
    constexpr struct {
        const char* key;
        int rule;  // 0 for none
    } ROWS[] = {
        {"a=80 value=1 first=10.0.0.1", 1},
        {"b=80 value=20 second=10.0.0.1", 1},
        {"a=80 b=1 value=10 first=1.1.1.1 second=10.255.255.255", 1},
        {"a=80 value=11 first=10.0.0.1", 0},
        {"a=81 value=1 first=10.0.0.1", 0},
        {"a=80 value=1 first=11.0.0.1", 0},
        {"a=80 value=1", 0},
        {"value=100 list16=5", 2},
        {"value=4294967295\tlist12=5", 2},
        {"value=100 list16=4 list12=4096", 0},
        {"value=99 list16=5", 0},
        {"a=443 first=2001:db8::1", 3},
        // Beside an IPv6 address an IPv4 one stands in mapped form.
        {"a=80 value=1 first=10.0.0.1 second=::1", 1},
        {"a=80 value=1 first=::ffff:10.0.0.1", 1},
        {"", 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.key);
        const CommandResult result = run("match -t compound -r rules" + quoted(row.key));
        EXPECT_EQ(row.rule == 0 ? 1 : 0, result.status);
        EXPECT_EQ(row.rule != 0, result.output.find("\trules:" + std::to_string(row.rule) + "\t") !=
                                     std::string::npos);
    }
}

TEST_F(Keys, OfCompoundRulesAreRefusedForABadPair) {
    writeFile("rules", "*;*;*;*;0;1\n");
    for (const char* key : {"a", "a=", "=1", "A=1", "c=1", "a=-1", "a=x", "a=65536", "b=65536",
                            "list16=65536", "list12=4097", "value=4294967296", "first=", "first=x",
                            "first=[::1]", "second=10.0.0", "a=1,b=2", "a=1 b", "a = 1"}) {
        SCOPED_TRACE(key);
        const CommandResult result = run("match -t compound -r rules" + quoted(key));
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.output);
        EXPECT_NE(std::string::npos,
                  result.messages.find("key:1: error: not name=value pairs of a, b, value, "
                                       "first, second, list16 and list12: " +
                                       std::string(key) + "\n"));
    }
}

TEST_F(Keys, OfDomainRulesAreRefusedForTheirLabels) {
    writeFile("rules", "*\n");
    constexpr struct {
        const char* key;
        const char* why;
    } ROWS[] = {
        {"", "empty name"},
        {".", "empty label"},
        {"a..b", "empty label"},
        {".a", "empty label"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.key);
        const CommandResult result = run("match -t domain -r rules" + quoted(row.key));
        EXPECT_EQ(2, result.status);
        EXPECT_NE(std::string::npos, result.messages.find("key:1: error: " + std::string(row.why) +
                                                          ": " + row.key + "\n"));
    }
}

// An argument in brackets is a key like any other, and not a list of arguments.
TEST_F(Keys, InBracketsAreTakenAsTheyAreWritten) {
    writeFile("rules", "[::1]\n[2001:db8::1]\n");
    EXPECT_EQ("[::1]\t[::1]\trules:1\t0\t1\n[2001:DB8::1]\t[2001:db8::1]\trules:2\t0\t2\n",
              run("match -t url -r rules '[::1]' '[2001:DB8::1]'").output);
    EXPECT_EQ("[::1,::1]\n", run("match -v -t url -r rules '[::1,::1]'").output);
}

TEST_F(Keys, OfUrlRulesAreRefusedWithoutAHost) {
    writeFile("rules", "*\n");
    for (const char* key : {"http://", "http:///x", "https://:80"}) {
        SCOPED_TRACE(key);
        const CommandResult result = run("match -t url -r rules" + quoted(key));
        EXPECT_EQ(2, result.status);
        EXPECT_NE(std::string::npos,
                  result.messages.find("key:1: error: no host, or neither host nor path: " +
                                       std::string(key) + "\n"));
    }
    const std::string longUrl = "http://example.com/" + std::string(5000, 'x');
    const CommandResult result = run("match -t url -r rules", longUrl + "\n");
    EXPECT_EQ(2, result.status);
    EXPECT_NE(std::string::npos, result.messages.find("-:1: error: URL too long: http://"));
}

class MaskOption : public CommandTest {
protected:
    MaskOption() { writeFile("rules", "*;*;*;*;0x10\n*;*;*;*;1\n"); }

    [[nodiscard]] CommandResult matchWith(const std::string& option) const {
        return run("match -t ipport -r rules " + option + " '1.1.1.1:1 2.2.2.2:2'");
    }
};

TEST_F(MaskOption, ChoosesTheRulesThatAreAsked) {
    EXPECT_NE(std::string::npos, matchWith("").output.find("\trules:1\t"));
    EXPECT_NE(std::string::npos, matchWith("--mask 16").output.find("\trules:1\t"));
    EXPECT_NE(std::string::npos, matchWith("--mask 0x30").output.find("\trules:1\t"));
    EXPECT_NE(std::string::npos, matchWith("--mask 1").output.find("\trules:2\t"));
    EXPECT_NE(std::string::npos, matchWith("--mask 0xFFFFFFEF").output.find("\trules:2\t"));
    EXPECT_EQ(1, matchWith("--mask 0").status);
    EXPECT_EQ(1, matchWith("--mask 4294967278").status);
}

TEST_F(MaskOption, IsANumberOfThirtyTwoBits) {
    for (const char* mask : {"x", "4294967296", "-1", "0xG"}) {
        SCOPED_TRACE(mask);
        const CommandResult result = matchWith("--mask " + std::string(mask));
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.output);
        EXPECT_NE(std::string::npos, result.messages.find("--mask"));
    }
}

// What "check" says of a line that is no rule.
struct BadLine {
    const char* line;
    const char* why;
};

class BadRules : public CommandTest {
protected:
    void expectReports(const std::string& type, const std::vector<BadLine>& lines) const {
        std::string rules;
        std::string reports;
        for (const BadLine& bad : lines) {
            rules += std::string(bad.line) + "\n";
            reports += "rules:" + std::to_string(&bad - lines.data() + 1) + ": error: " + bad.why +
                       ": " + bad.line + "\n";
        }
        writeFile("rules", rules);
        const CommandResult result = run("check -q --max-errors 0 -t " + type + " rules");
        EXPECT_EQ(1, result.status);
        EXPECT_EQ(reports, result.messages);
    }
};

TEST_F(BadRules, OfHostNames) {
    constexpr const char* STAR = "'*' only stands in front: \"*.\" and a host name, or alone";
    const std::string label = std::string(64, 'l');
    const std::string why = "label over 63 bytes: " + label;
    expectReports("domain", {{"a..b", "empty label"},
                             {".a", "empty label"},
                             {"*.", "empty label"},
                             {"*.*", STAR},
                             {"a.*", STAR},
                             {"*a.b", "'*' must be followed by '.'"},
                             {"a/b", "'/' in a host name"},
                             {"a:80", "':' in a host name"},
                             {"a?b", "'?' in a host name"},
                             {"a#b", "'#' in a host name"},
                             {label.c_str(), why.c_str()}});
    std::string name = "l";
    while (name.size() <= 255) {
        name += ".l";
    }
    writeFile("rules", name + "\n");
    EXPECT_EQ("rules:1: error: host name over 255 bytes: " + name.substr(0, 120) + "...\n",
              run("check -q -t domain rules").messages);
}

TEST_F(BadRules, OfUrls) {
    constexpr const char* PORT = "no port from 1 to 65535, and no '*', behind ':'";
    constexpr const char* SCHEME = "a scheme other than http and https";
    expectReports("url", {{"ftp://example.com", SCHEME},
                          {"httpx://example.com", SCHEME},
                          {"http://", "no host"},
                          {"http:///x", "no host"},
                          {"//", "no host"},
                          {"example.com:0", PORT},
                          {"example.com:65536", PORT},
                          {"example.com:x/y", PORT},
                          {"user:password@example.com", PORT},
                          {"example.com/**", "more than one '*' in the path"},
                          {"example.com/x*y*z", "more than one '*' in the path"},
                          {"[::1", "not an IPv6 address in brackets"},
                          {"[::g]/", "not an IPv6 address in brackets"},
                          {"a..b/x", "empty label"},
                          {"*x.b/", "'*' must be followed by '.'"}});
}

TEST_F(BadRules, OfTwoEndpointsAndAMask) {
    constexpr const char* COUNT = "five fields are needed: addresses;ports;addresses;ports;mask";
    constexpr const char* FIELD = "a bad address, port (1 to 65535) or mask (1 to 4294967295)";
    expectReports("ipport", {{"*;1;*;1", COUNT},
                             {"*;1;*;1;1;1", COUNT},
                             {"* ;1;*;1;1", "blank inside a rule"},
                             {"*;1;*;1; 1", "blank inside a rule"},
                             {"1.1.1;1;*;1;1", FIELD},
                             {";1;*;1;1", FIELD},
                             {"*;0;*;1;1", FIELD},
                             {"*;1;*;65536;1", FIELD},
                             {"*;1;*;1;0", FIELD},
                             {"*;1;*;1;0x", FIELD},
                             {"*;1;*;1;4294967296", FIELD}});
}

TEST_F(BadRules, OfPacketFilters) {
    constexpr const char* COUNT = "five fields are needed: tcp;address;ports;address;ports";
    constexpr const char* PROTOCOL = "a protocol other than tcp";
    constexpr const char* FIELD =
        "a bad address, addresses of two families, or a bad port (1 to 65535)";
    expectReports("packetfilter", {{"tcp;*;1;*", COUNT},
                                   {"tcp;*;1;*;1;1", COUNT},
                                   {"udp;*;1;*;1", PROTOCOL},
                                   {"6;*;1;*;1", PROTOCOL},
                                   {"tcp ;*;1;*;1", PROTOCOL},
                                   {"tcpx;*;1;*;1", PROTOCOL},
                                   {"tcp;*;0;*;1", FIELD},
                                   {"tcp;1.1.1;1;*;1", FIELD},
                                   {"tcp;1.1.1.1,2.2.2.2;1;*;1", FIELD},
                                   {"tcp;10.0.0.1;1;::1;1", FIELD}});
}

TEST_F(BadRules, OfCompoundFields) {
    constexpr const char* WHY = "not six fields ranges;ranges;addresses;ranges;number;number";
    expectReports("compound", {{"*;*;*;1;0", WHY},
                               {"*;*;*;1;0;1;1", WHY},
                               {"*;*;*;1;0;x", WHY},
                               {"5-1;*;*;1;0;1", WHY},
                               {"*;*;1.2.3;1;0;1", WHY},
                               {"*;*;*;65536;0;1", WHY},
                               {";*;*;1;0;1", WHY}});
}

}  // namespace

}  // namespace rs::test
