// The tool itself, on the scripts of this folder: NAME.ndjson gives NAME.trace, with --queries
// NAME.queries.trace and with --quiet NAME.quiet.trace, byte for byte. The scripts random-* were
// drawn at random, and their traces agreed with those of a second implementation, written apart.

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const fs::path scripts = REPLAY_SCRIPTS;

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct Result {
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs `ambrel replay ARGUMENTS` by the shell.
Result replay(const std::string& arguments) {
    const fs::path errors =
        fs::path(testing::TempDir()) / ("replay-errors-" + std::to_string(getpid()));
    const std::string command =
        "exec 2>'" + errors.string() + "'; '" AMBREL_TOOL "' replay " + arguments;
    Result result;
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> buffer{};
    while (const std::size_t length = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        result.output.append(buffer.data(), length);
    }
    result.status = WEXITSTATUS(pclose(pipe));
    result.errors = contents(errors);
    fs::remove(errors);
    return result;
}

std::string quoted(const fs::path& file) {
    std::string text = "'";
    return text.append(file.string()).append("'");
}

TEST(ReplayTool, givesTheTraces) {
    std::size_t compared = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(scripts)) {
        if (entry.path().extension() != ".ndjson") {
            continue;
        }
        for (const std::string option : {"", "queries", "quiet"}) {
            fs::path trace = entry.path();
            trace.replace_extension(option + ".trace");
            if (fs::exists(trace)) {
                const Result result =
                    replay((option.empty() ? "" : "--" + option + " ") + quoted(entry.path()));
                EXPECT_EQ(result.output, contents(trace)) << trace;
                EXPECT_EQ(result.errors, "") << trace;
                EXPECT_EQ(result.status, 0) << trace;
                ++compared;
            }
        }
    }
    EXPECT_GE(compared, 30U);
}

TEST(ReplayTool, readsStandardInput) {
    const Result result = replay("--quiet - <" + quoted(scripts / "typical-run.ndjson"));
    EXPECT_EQ(result.output, contents(scripts / "typical-run.quiet.trace"));
    EXPECT_EQ(result.status, 0);
}

TEST(ReplayTool, namesTheBadLine) {
    const Result result = replay(
        R"(- <<'END'
{"ambrelReplay":1}
{"at":1,"host":"startScanning"}

{"at":0.5,"host":"startScanning"}
END
)");
    EXPECT_EQ(result.errors,
              "ambrel: standard input:4: \"at\" is before that of the step before\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.output, testing::StartsWith(R"({"at":1,"delegate":"didReceive)"));
}

TEST(ReplayTool, saysWhyAFileCannotBeRead) {
    const Result missing = replay("/nonexistent/script");
    EXPECT_EQ(missing.errors, "ambrel: /nonexistent/script: No such file or directory\n");
    EXPECT_EQ(missing.status, 1);
    const Result folder = replay(quoted(scripts));
    EXPECT_THAT(folder.errors, testing::MatchesRegex("ambrel: .*Is a directory\n"));
    EXPECT_EQ(folder.status, 1);
}

TEST(ReplayTool, saysThatTheTraceCannotBeWritten) {
    const Result result = replay(quoted(scripts / "typical-run.ndjson") + " >/dev/full");
    EXPECT_EQ(result.errors, "ambrel: can't write the trace\n");
    EXPECT_EQ(result.status, 1);
}

} // namespace
