// Keys that are lines of standard input, many of them and without an end.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <pty.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/command_runner.h"

namespace rs::test {

namespace {

// More than four blocks, and not a whole number of batches.
constexpr uint32_t KEY_COUNT = 100003;

// Every third key matches, every 1000th is bad, every 7th line is empty, and lines end in both ways.
std::string manyKeys() {
    std::string keys;
    for (uint32_t i = 0; i < KEY_COUNT; ++i) {
        if (i % 1000 == 999) {
            keys += "bad" + std::to_string(i);
        } else {
            keys += i % 3 == 0 ? "10." : "11.";
            keys += std::to_string(i >> 16U) + '.' + std::to_string(i >> 8U & 255U) + '.' +
                    std::to_string(i & 255U);
        }
        keys += i % 2 == 0 ? "\n" : "\r\n";
        keys += i % 7 == 0 ? "\n" : "";
    }
    return keys;
}

std::vector<std::string> sortedLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

// The first line of output that is not as expected; empty when there is none.
std::string firstDifference(const std::string& expected, const std::string& output) {
    const auto [at, other] =
        std::mismatch(expected.begin(), expected.end(), output.begin(), output.end());
    if (at == expected.end() && other == output.end()) {
        return "";
    }
    const auto position = static_cast<size_t>(at - expected.begin());
    return "instead of \"" + expected.substr(position, 80) + "\": \"" +
           output.substr(position, 80) + '"';
}

class MatchStream : public CommandTest {
protected:
    MatchStream() { writeFile("rules", "10.0.0.0/9\t7\n10.128.0.0/9\t8\n"); }

    // A pipe that is open for writing as long as the script runs.
    [[nodiscard]] CommandResult runWithOpenPipe(const std::string& script) const {
        return runScript("mkfifo pipe && exec 3<>pipe && " + script);
    }
};

TEST_F(MatchStream, AnswersAlikeWithAnyNumberOfThreads) {
    const std::string keys = manyKeys();
    for (const char* options :
         {"", "-v", "-c", "--json", "-q", "-m 20000", "-m 1", "-v -m 60000", "-c -m 333"}) {
        SCOPED_TRACE(options);
        const std::string command = std::string("match -t ip -r rules ") + options + " -j ";
        // Times differ from run to run.
        const std::string timeless = " 2>&1 | sed '/ rules loaded in /d; s/ in [0-9].*s)//'";
        const CommandResult one = run(command + "1" + timeless, keys);
        for (const char* threads : {"2", "16"}) {
            // Messages are in the order of the keys, between the lines that are printed.
            EXPECT_EQ("",
                      firstDifference(one.output, run(command + threads + timeless, keys).output))
                << threads;
        }
    }
}

TEST_F(MatchStream, ExitsAlikeWithAnyNumberOfThreads) {
    const std::string keys = manyKeys();
    for (const char* threads : {"1", "2", "16"}) {
        const std::string command = std::string("match -t ip -r rules -j ") + threads;
        EXPECT_EQ(2, run(command, keys).status);
        EXPECT_EQ(2, run(command + " -c -m 30000", keys).status);
        EXPECT_EQ(0, run(command + " -m 300", keys).status);  // before the first bad key
        EXPECT_EQ(0, run(command + " -q", keys).status);
        EXPECT_EQ(0, run(command, "10.0.0.1\n").status);
        EXPECT_EQ(1, run(command, "11.0.0.1\n").status);
        EXPECT_EQ(1, run(command + " -m 0", keys).status);
        EXPECT_EQ(1, run(command, "").status);
    }
}

TEST_F(MatchStream, NumbersTheLinesOfBadKeysInAllBlocks) {
    const CommandResult result = run("match -t ip -r rules -j 4", manyKeys());
    EXPECT_EQ(2, result.status);
    // Line ends before the key: one for each key and for each seventh.
    const auto messageFor = [](uint32_t key) {
        const uint32_t line = key + (key + 6) / 7 + 1;
        return "-:" + std::to_string(line) + ": error: not an IPv4 or IPv6 address: bad" +
               std::to_string(key) + '\n';
    };
    for (const uint32_t key : {999U, 1999U, 50999U, 99999U}) {
        EXPECT_NE(std::string::npos, result.messages.find(messageFor(key))) << key;
    }
}

TEST_F(MatchStream, UnorderedPrintsTheSameLines) {
    const std::string keys = manyKeys();
    const CommandResult ordered = run("match -t ip -r rules -j 1", keys);
    for (const char* threads : {"1", "2", "16"}) {
        const CommandResult result =
            run(std::string("match -t ip -r rules --unordered -j ") + threads, keys);
        EXPECT_TRUE(sortedLines(ordered.output) == sortedLines(result.output)) << threads;
        EXPECT_EQ(ordered.status, result.status);
    }
    EXPECT_EQ("20000\n", run("match -c -m 20000 -t ip -r rules --unordered -j 4", keys).output);
}

TEST_F(MatchStream, RefusesNumbersOfThreadsThatMakeNoSense) {
    for (const char* threads : {"0", "-1", "many", "1025"}) {
        EXPECT_EQ(2, run(std::string("match -t ip -r rules -j ") + threads).status) << threads;
        EXPECT_EQ(2, run(std::string("check -t ip rules -j ") + threads).status) << threads;
    }
    EXPECT_EQ(0, run("match -t ip -r rules --threads 1024", "10.0.0.1\n").status);
}

TEST_F(MatchStream, EndsWhenItsOutputIsFull) {
    const std::string keys = manyKeys();
    for (const char* threads : {"1", "4"}) {
        for (const char* more : {"", " --unordered", " --line-buffered", " -c"}) {
            const CommandResult result =
                run(std::string("match -t ip -r rules -j ") + threads + more + " >/dev/full", keys);
            EXPECT_EQ(2, result.status);
            EXPECT_NE(
                std::string::npos,
                result.messages.find("ruleset: error: standard output: No space left on device\n"));
        }
    }
}

TEST_F(MatchStream, EndsWithoutMoreInputWhenItsOutputIsFull) {
    const CommandResult result = runWithOpenPipe(
        "echo 10.0.0.1 >&3 && timeout 60 $ruleset match -t ip -r rules -j 4 <pipe >/dev/full");
    EXPECT_EQ(2, result.status);
}

TEST_F(MatchStream, EndsQuietlyWhenItsReaderIsGone) {
    for (const char* threads : {"1", "4"}) {
        const CommandResult result =
            runScript(std::string("yes 10.0.0.1 | timeout 60 $ruleset match -t ip -r rules -j ") +
                      threads + " | head -n 1");
        EXPECT_EQ("10.0.0.1\t10.0.0.0/9\trules:1\t7\t1\n", result.output);
        EXPECT_EQ(std::string::npos, result.messages.find("error"));
    }
}

TEST_F(MatchStream, SaysThatItsReaderIsGoneWhereThatIsNoSignal) {
    const CommandResult result = runScript(
        "trap '' PIPE\n"
        "{ yes 10.0.0.1 2>yes_messages | timeout 60 $ruleset match -t ip -r rules -j 4\n"
        "echo $? >status; } | head -n 1");
    EXPECT_EQ("2\n", readFile("status"));
    EXPECT_NE(std::string::npos,
              result.messages.find("ruleset: error: standard output: Broken pipe\n"));
}

TEST_F(MatchStream, EndsBySignalWhileItWaitsForInput) {
    const CommandResult result = runWithOpenPipe(
        "timeout --preserve-status -s INT 1 $ruleset match -t ip -r rules -j 4 <pipe");
    EXPECT_EQ(128 + SIGINT, result.status);
}

TEST_F(MatchStream, StopsWithoutMoreInputWhenEnoughKeysAreSelected) {
    for (const char* options :
         {"-q", "-m 1", "-c -m 1", "-q --unordered", "-m 1 --line-buffered"}) {
        const CommandResult result = runScript(
            "rm -f pipe; mkfifo pipe && exec 3<>pipe && echo 10.0.0.1 >&3 && "
            "timeout 60 $ruleset match -t ip -r rules -j 4 <pipe " +
            std::string(options));
        EXPECT_EQ(0, result.status) << options;
    }
}

// A program that asks one key after the other waits for each answer.
TEST_F(MatchStream, AnswersWhatIsThereBeforeMoreIsWritten) {
    for (const char* options : {"--line-buffered", "-j 1", "-j 4"}) {
        const CommandResult result = runScript(
            "rm -f in out; mkfifo in out\n"
            "timeout 60 $ruleset match -t ip -r rules " +
            std::string(options) +
            " <in >out &\n"
            "exec 3>in 4<out\n"
            "for key in 10.0.0.1 10.0.0.2; do\n"
            "    echo $key >&3; read -r answer <&4; echo \"$answer\"\n"
            "done\n"
            "exec 3>&-; wait $!");
        EXPECT_EQ(
            "10.0.0.1\t10.0.0.0/9\trules:1\t7\t1\n"
            "10.0.0.2\t10.0.0.0/9\trules:1\t7\t1\n",
            result.output)
            << options;
    }
}

TEST_F(MatchStream, WritesEachLineAtOnceWhenLineBuffered) {
    writeFile("keys", "10.0.0.1\n10.0.0.2\nbad\n10.0.0.3");
    const CommandResult result =
        run("match -t ip -r rules --line-buffered <keys 2>&1 | grep -v ' in '");
    EXPECT_EQ(
        "10.0.0.1\t10.0.0.0/9\trules:1\t7\t1\n"
        "10.0.0.2\t10.0.0.0/9\trules:1\t7\t1\n"
        "-:3: error: not an IPv4 or IPv6 address: bad\n"
        "10.0.0.3\t10.0.0.0/9\trules:1\t7\t1\n",
        result.output);
}

TEST_F(MatchStream, AnswersOnATerminalBeforeTheNextLineIsTyped) {
    int terminal = -1;
    const std::string rules = folder / "rules";
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_NE(-1, child);
    if (child == 0) {
        execl(RULESET_COMMAND, "ruleset", "match", "-t", "ip", "-r", rules.c_str(), nullptr);
        _exit(127);
    }
    std::string seen;
    // The terminal shows what is typed, and then the answer.
    const auto readUntil = [&seen, terminal](const std::string& expected) {
        std::array<char, 256> bytes{};
        while (seen.find(expected) == std::string::npos) {
            const ssize_t count = read(terminal, bytes.data(), bytes.size());
            if (count <= 0) {
                return false;
            }
            seen.append(bytes.data(), static_cast<size_t>(count));
        }
        return true;
    };
    for (const std::string key : {"10.0.0.1", "10.0.0.2"}) {
        ASSERT_EQ(ssize_t{9}, write(terminal, (key + '\n').data(), 9));
        EXPECT_TRUE(readUntil(key + "\t10.0.0.0/9\t")) << seen;
    }
    ASSERT_EQ(1, write(terminal, "\x04", 1));  // the end of the input
    EXPECT_TRUE(readUntil("2 matched")) << seen;
    int status = -1;
    waitpid(child, &status, 0);
    close(terminal);
    EXPECT_EQ(0, status);
}

// Shell words that print that many bytes of a line.
std::string longLine(uint64_t length) {
    return "head -c " + std::to_string(length) + " /dev/zero | tr '\\0' a";
}

constexpr uint64_t LONGEST_LINE = uint64_t{64} << 20U;

TEST_F(MatchStream, TakesLinesOfSixtyFourMebibytes) {
    const CommandResult result =
        runScript("{ echo 10.0.0.1; " + longLine(LONGEST_LINE) +
                  "; echo; echo 10.0.0.2; } | $ruleset match -t ip -r rules -j 2");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ(
        "10.0.0.1\t10.0.0.0/9\trules:1\t7\t1\n"
        "10.0.0.2\t10.0.0.0/9\trules:1\t7\t1\n",
        result.output);
    EXPECT_NE(std::string::npos,
              result.messages.find("-:2: error: not an IPv4 or IPv6 address: aaa"));
}

TEST_F(MatchStream, EndsAtALongerLineAfterTheAnswersBeforeIt) {
    for (const char* options : {"-j 1", "-j 2", "--line-buffered"}) {
        const CommandResult result =
            runScript("{ echo 10.0.0.1; " + longLine(LONGEST_LINE + 1) +
                      "; echo; echo 10.0.0.2; } | $ruleset match -t ip -r rules " + options);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("10.0.0.1\t10.0.0.0/9\trules:1\t7\t1\n", result.output);
        EXPECT_NE(std::string::npos,
                  result.messages.find("ruleset: error: -:2: line over the limit of 64 MiB\n"));
    }
}

TEST_F(MatchStream, EndsAtAnEndlessLine) {
    for (const char* command :
         {"match -t ip -r rules", "match -t ip -r - 10.0.0.1", "check -t ip -", "normalize"}) {
        const CommandResult result =
            runScript(std::string("tr '\\0' a </dev/zero | timeout 60 $ruleset ") + command);
        EXPECT_EQ(2, result.status) << command;
        EXPECT_NE(std::string::npos, result.messages.find("-:1: line over the limit of 64 MiB\n"));
    }
}

TEST_F(MatchStream, SaysThatItsInputCannotBeRead) {
    const CommandResult result = run("match -t ip -r rules -j 4 <.");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.output);
    EXPECT_NE(std::string::npos, result.messages.find("ruleset: error: -: Is a directory\n"));
}

}  // namespace

}  // namespace rs::test
