#ifndef AMBREL_TESTS_TOOLS_COMMANDFIXTURE_HPP
#define AMBREL_TESTS_TOOLS_COMMANDFIXTURE_HPP

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs `ambrel` in a folder of the test's own, which is the documents folder, too.
class CommandTest : public testing::Test {
protected:
    CommandTest() {
        std::string folder = testing::TempDir() + "ambrel-tool-XXXXXX";
        directory = mkdtemp(folder.data());
        setenv("AMBREL_DOCUMENTS_DIR", directory.c_str(), 1);
        setenv("AMBREL_CONFIG", "", 1);
        setenv("TZ", "IST-5:30", 1); // five and a half hours before Greenwich
    }

    ~CommandTest() override { std::filesystem::remove_all(directory); }

    [[nodiscard]] std::string contents(const char* name) const {
        std::ifstream file(directory / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void write(const char* name, const std::string& text) const {
        std::ofstream(directory / name, std::ios::binary) << text;
    }

    /// Runs `ambrel` with arguments, and what else stands behind them, as a shell reads them; with
    /// words before it where `before` has some.
    Outcome ambrel(const std::string& arguments, const std::string& input = "",
                   const std::string& before = "") const {
        write("in", input);
        const std::string command = "cd '" + directory.string() + "' && { " + before +
                                    " '" AMBREL_TOOL "' " + arguments + "; } <in >out 2>err";
        const int status = std::system(command.c_str());
        return {WEXITSTATUS(status), contents("out"), contents("err")};
    }

    std::filesystem::path directory;
};

#endif
