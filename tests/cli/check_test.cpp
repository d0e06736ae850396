#include <regex>
#include <string>

#include "cli/command_runner.h"

namespace rs::test {

namespace {

using CheckCommand = CommandTest;

TEST_F(CheckCommand, AcceptsGoodFiles) {
    writeFile("rules", "10.0.0.0/8\t7\n# x\n::1\n");
    const CommandResult result = run("check -t ip rules");
    EXPECT_EQ(0, result.status);
    EXPECT_NE(std::string::npos, result.messages.find("2 rules, 0 bad lines"));
}

// An argument in brackets is a file like any other, and not a list of files.
TEST_F(CheckCommand, TakesFilesInBrackets) {
    writeFile("[a,b]", "10.0.0.1\n");
    writeFile("rules", "10.0.0.2\n");
    const CommandResult result = run("check -t ip '[a,b]' rules");
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_NE(std::string::npos, result.messages.find("2 rules, 0 bad lines"));
}

TEST_F(CheckCommand, NeedsAFile) {
    EXPECT_EQ(2, run("check -t ip").status);
}

TEST_F(CheckCommand, SaysWhyALineIsBad) {
    constexpr struct {
        const char* line;
        const char* why;
    } ROWS[] = {
        {"1.2.3.4/0", "a prefix of 0 covers everything: write 0.0.0.0-255.255.255.255"},
        {"::/0",
         "a prefix of 0 covers everything: write ::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
        {"1.2.3.4/33", "prefix length must be 1 to 32: 33"},
        {"::/129", "prefix length must be 1 to 128: 129"},
        {"1.2.3.4/08", "leading zero in the prefix length"},
        {"1.2.3.4/", "no prefix length behind '/'"},
        {"1.2.3", "an IPv4 address has 4 fields, not 3"},
        {"1.2.3.4.5", "an IPv4 address has 4 fields, not 5"},
        {"01.2.3.4", "leading zero in a field: 01"},
        {"1.2.3.256", "field above 255: 256"},
        {"1..2.3", "empty field in an IPv4 address"},
        {"1.2.x.4", "not a number in an IPv4 address: x"},
        {"::1::2", "two '::' in an IPv6 address"},
        {"1:2:3", "an IPv6 address has 8 groups, or fewer and '::'"},
        {"12345::", "more than 4 digits in a group: 12345"},
        {"g::", "not a hexadecimal number in an IPv6 address: g"},
        {"[::1]", "an IPv6 address has neither brackets nor a zone here"},
        {"10.0.0.9-10.0.0.1", "first address above the last"},
        {"1::-2.2.2.2", "a range of two address families"},
        {"1.2.3.4 - 1.2.3.5", "blank inside a rule"},
        {"example.com", "not an IPv4 or IPv6 address"},
        {"1.1.1.1\tx", "value is not a number up to 4294967295: x"},
        {"1.1.1.1\t4294967296", "value is not a number up to 4294967295: 4294967296"},
        {"1.1.1.1\t1\t0", "id is not a number from 1 to 4294967295: 0"},
        {"1.1.1.1\t1\t2\t3", "extra fields after the id"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.line);
        writeFile("rules", std::string(row.line) + "\n");
        const CommandResult result = run("check -q -t ip rules");
        EXPECT_EQ(1, result.status);
        const std::string shown =
            std::regex_replace(std::string(row.line), std::regex("\t"), "\\t");
        EXPECT_EQ("rules:1: error: " + std::string(row.why) + ": " + shown + "\n", result.messages);
    }
}

TEST_F(CheckCommand, ShowsAsManyBadLinesAsAskedFor) {
    std::string rules;
    for (int i = 0; i < 25; ++i) {
        rules += "x\n";
    }
    writeFile("rules", rules);
    EXPECT_NE(std::string::npos,
              run("check -t ip --max-errors 3 rules").messages.find("... and 22 more"));
    const std::string all = run("check -t ip --max-errors 0 rules").messages;
    EXPECT_NE(std::string::npos, all.find("rules:25: "));
    EXPECT_EQ(std::string::npos, all.find("more"));
}

TEST_F(CheckCommand, ExitsWithTwoForAFileThatCannotBeRead) {
    const CommandResult result = run("check -t ip nowhere");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("ruleset: error: nowhere: No such file or directory\n", result.messages);
}

TEST_F(CheckCommand, EscapesControlBytesInMessages) {
    writeFile("rules", std::string("a\x01\x1B[2J\0b\n", 8));
    EXPECT_EQ("rules:1: error: not an IPv4 or IPv6 address: a\\x01\\x1B[2J\\x00b\n",
              run("check -q -t ip rules").messages);
}

using VersionFlag = CommandTest;

TEST_F(VersionFlag, PrintsTheIdentText) {
    const CommandResult result = run("--version");
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(std::regex_match(
        result.output,
        std::regex("ruleset 5\\.200\\.1021 \\([a-z0-9_-]+, built \\d{4}-\\d\\d-\\d\\d\\)\n")))
        << result.output;
}

}  // namespace

}  // namespace rs::test
