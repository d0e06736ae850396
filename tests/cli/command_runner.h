// Runs the command as a user does: as a program, with files, standard input and an exit status.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>

#include <gtest/gtest.h>

namespace rs::test {

struct CommandResult {
    int status;
    std::string output;
    std::string messages;
};

// A folder of its own for a test, in which the command runs.
class CommandTest : public ::testing::Test {
protected:
    CommandTest() {
        const std::string pattern = "ruleset_cli_" + std::string(6, 'X');
        std::string name = (std::filesystem::temp_directory_path() / pattern).string();
        folder = mkdtemp(name.data());
    }
    ~CommandTest() override { std::filesystem::remove_all(folder); }

    void writeFile(const std::string& name, const std::string& content) const {
        std::ofstream(folder / name, std::ios::binary) << content;
    }

    [[nodiscard]] std::string readFile(const std::string& name) const {
        std::ostringstream content;
        content << std::ifstream(folder / name, std::ios::binary).rdbuf();
        return content.str();
    }

    // Arguments as a shell reads them; input is what standard input holds.
    [[nodiscard]] CommandResult run(const std::string& arguments,
                                    const std::string& input = "") const {
        return runScript("$ruleset " + arguments, input);
    }

    // Lines for a shell, in which $ruleset is the command.
    [[nodiscard]] CommandResult runScript(const std::string& script,
                                          const std::string& input = "") const {
        writeFile("input", input);
        const std::string line = "cd '" + folder.string() +
                                 "' && ruleset='" RULESET_COMMAND "' && {\n" + script +
                                 "\n} <input >output 2>messages";
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile("output"),
                readFile("messages")};
    }

    std::filesystem::path folder;
};

}  // namespace rs::test
