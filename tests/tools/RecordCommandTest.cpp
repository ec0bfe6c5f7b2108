#include "tests/tools/CommandFixture.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace testing;

/// With every permission refused it is over at once.
const std::string nothing = " --without bluetooth,location,network ";
const auto isScript = AllOf(StartsWith("{\"ambrelReplay\":1"), EndsWith("\"end\":true}\n"));

using RecordCommandTests = CommandTest;

TEST_F(RecordCommandTests, WritesNothingButItsFileUnderItsName) {
    write("script", "earlier");
    write("victim", "precious");
    std::filesystem::permissions(directory / "script", std::filesystem::perms(0644));
    std::filesystem::create_symlink("victim", directory / "script.part");
    EXPECT_EQ(ambrel("record script" + nothing + "& sleep 0.01; wait").status, 0);
    EXPECT_THAT(contents("script"), isScript);
    EXPECT_EQ(std::filesystem::status(directory / "script").permissions(),
              std::filesystem::perms(0600));
    EXPECT_EQ(contents("victim"), "precious");

    std::filesystem::remove(directory / "script.part");
    mkfifo((directory / "script.part").c_str(), S_IRWXU); // which would hang it
    EXPECT_EQ(ambrel("record script" + nothing).status, 0);
    // Waiting for the reader of a pipe can be interrupted also while a file is not whole.
    EXPECT_EQ(ambrel("record script --outcome script.part", "", "timeout -k 1 0.3").status, 124);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 6); // in, out, err

    // A dictionary that has no standard output does not go into the script that was opened for it.
    const Outcome closed = ambrel("record script" + nothing + ">&-");
    EXPECT_EQ(closed.status, 1);
    EXPECT_THAT(closed.errors, HasSubstr("Bad file descriptor"));
    EXPECT_THAT(contents("script"), isScript);

    // What can't be written to is told before anything is collected.
    EXPECT_THAT(ambrel("record .", "", "timeout 5").errors, HasSubstr("Is a directory"));
    EXPECT_THAT(ambrel("record ''", "", "timeout 5").errors, HasSubstr("no name for a file"));

    const Outcome piped = ambrel("record /dev/fd/3" + nothing + "3>&1 >&2 | cat");
    EXPECT_THAT(piped.output, isScript);

    // What goes the way of the dictionary neither covers it nor takes the place of /dev/stdout.
    const Outcome both = ambrel("record /dev/stdout" + nothing);
    EXPECT_THAT(both.output, AllOf(StartsWith("{\"ambrelReplay\":1"), HasSubstr("\"end\":true}\n{"),
                                   EndsWith("}\n")));
}

} // namespace
