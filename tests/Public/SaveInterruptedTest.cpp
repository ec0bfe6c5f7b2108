// Saves that are cut short, or meet others: what was saved before stays whole.

#include "AmbrelKit/Internal/Extensions/ReplaceFile.hpp"
#include "tests/Public/StorageFixture.hpp"
#include "tests/support/Isolation.hpp"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace AmbrelKit {
namespace {

using namespace testing;

/// Of the calls that a save is made of.
const char* nameOf(std::uint64_t systemCall) {
    switch (systemCall) {
    case SYS_write:
        return "write ";
    case SYS_fsync:
        return "sync ";
#ifdef SYS_rename
    case SYS_rename:
#endif
    case SYS_renameat:
    case SYS_renameat2:
        return "rename ";
    default:
        return "";
    }
}

/// Runs `work` in a process of its own up to its step of that number, the beginning or the end of a
/// system call, and kills it there. Returns false when it has ended before.
bool killedAtStep(int step, const std::function<void()>& work, std::string* calls = nullptr) {
    const pid_t child = StorageTest::startChild([&work] {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            return 1;
        }
        raise(SIGSTOP);
        work();
        return 0;
    });
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSTOPPED(status)) << "may not be traced";
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD);
    for (int i = 0; i < step && WIFSTOPPED(status); ++i) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
        __ptrace_syscall_info call{};
        ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof call, &call);
        if (calls != nullptr && call.op == PTRACE_SYSCALL_INFO_ENTRY) {
            *calls += nameOf(call.entry.nr);
        }
    }
    if (WIFSTOPPED(status)) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        return true;
    }
    return false;
}

class SaveInterruptedTest : public StorageTest {
protected:
    /// A dictionary that shows whether it is whole, and which it is.
    static JSONDictionary marked(int timestamp, char mark, std::size_t length = 50'000) {
        return dictionary(timestamp, std::string(length, mark));
    }

    [[nodiscard]] bool leftSomething() const { return names(documents).size() > 1; }

    static constexpr int endless = 100'000; ///< more steps than a few saves have
};

TEST_F(SaveInterruptedTest, AFullDiskLeavesTheEarlierFile) {
    // The disk is the documents folder, or the directory alone; with room below a full one.
    const struct {
        std::filesystem::path disk;
        bool roomBelow;
    } cases[] = {{documents, false}, {collections, false}, {documents, true}};
    for (const auto& [disk, roomBelow] : cases) {
        std::filesystem::create_directories(disk);
        const std::string said = outputOf([&, &disk = disk, &roomBelow = roomBelow] {
            const auto mounted = [](const std::filesystem::path& place) {
                return mount("none", place.c_str(), "tmpfs", 0, "size=1m") == 0;
            };
            if (const auto refusal = isolate(); !refusal.empty() || !mounted(disk)) {
                std::cout << refusal;
                return;
            }
            if (roomBelow) {
                std::filesystem::create_directory(collections);
                std::ofstream(documents / "other") << std::string(2'000'000, 'x');
                mounted(collections);
            }
            const auto earlier = marked(1, 'a', 300'000);
            store.save(earlier);
            store.save(marked(1, 'b', 2'000'000));
            store.save(marked(2, 'c', 800'000));
            const bool kept = store.savedCollections() == std::vector{earlier};
            // What did not fit took nothing away from what does.
            store.save(marked(3, 'd', 400'000));
            std::cout << kept << store.savedCollections().size();
            for (const std::string& report : reports) {
                std::cout << report.substr(documents.string().size());
            }
        });
        if (said.find("the kernel refuses") == 0) {
            GTEST_SKIP() << said;
        }
        EXPECT_EQ(said, "12/collections/1.0: No space left on device"
                        "/collections/2.0: No space left on device")
            << disk << roomBelow;
    }
}

TEST_F(SaveInterruptedTest, AKilledSaveLeavesWholeFiles) {
    const auto earlier = marked(0, 'z');
    const auto overEarlier = marked(0, 'a');
    const auto first = marked(1, 'b');
    store.save(earlier);
    bool left = false;
    const auto saves = [&] {
        store.save(overEarlier);
        store.save(first);
    };
    for (int step = 0; killedAtStep(step, saves); ++step) {
        ASSERT_LT(step, endless);
        left = left || leftSomething();
        ASSERT_THAT(store.savedCollections(), AnyOf(ElementsAre(earlier), ElementsAre(overEarlier),
                                                    UnorderedElementsAre(overEarlier, first)));
        store.save(earlier);
        ASSERT_FALSE(leftSomething());
        std::filesystem::remove(collections / "1.0");
    }
    EXPECT_TRUE(left);
    EXPECT_THAT(store.savedCollections(), UnorderedElementsAre(overEarlier, first));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(SaveInterruptedTest, ALossOfPowerFindsWholeFiles) {
    std::string calls;
    store.save(marked(1, 'a'));
    EXPECT_FALSE(killedAtStep(
        endless, [this] { store.save(marked(1, 'b')); }, &calls));
    EXPECT_EQ(calls, "write sync rename sync ");

    std::filesystem::remove_all(documents); // then the entries of the folders are saved, too
    calls.clear();
    EXPECT_FALSE(killedAtStep(
        endless, [this] { store.save(marked(1, 'c')); }, &calls));
    EXPECT_EQ(calls, "write sync rename sync sync sync ");
}

TEST_F(SaveInterruptedTest, TwoProcessesSaveOneTimestamp) {
    store.save(marked(1, 'z'));
    std::vector<pid_t> children;
    for (const char mark : {'a', 'b'}) {
        children.push_back(startChild([this, mark] {
            for (int i = 0; i < 200; ++i) {
                store.save(marked(1, mark));
            }
            return static_cast<int>(reports.size());
        }));
    }
    const auto whole = AnyOf(marked(1, 'a'), marked(1, 'b'), marked(1, 'z'));
    for (const pid_t child : children) {
        int status = 0;
        while (waitpid(child, &status, WNOHANG) == 0) {
            ASSERT_THAT(store.savedCollections(), ElementsAre(whole));
        }
        EXPECT_EQ(status, 0);
    }
    EXPECT_THAT(store.savedCollections(), ElementsAre(Not(marked(1, 'z'))));
    EXPECT_FALSE(leftSomething());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(SaveInterruptedTest, ANewFileLeavesThoseThatOthersAreMaking) {
    mkfifo((documents / ".ambrel-saving-pipe").c_str(), 0600); // whose opening might wait for ever
    NewFile first(documents, documents / "first");
    const NewFile second(documents, documents / "second");
    first.write("whole");
    first.finish();
    EXPECT_EQ(contents(documents / "first"), "whole");
}

TEST_F(SaveInterruptedTest, TheFolderAboveNeedNotBeWritable) {
    std::filesystem::create_directory(collections);
    std::filesystem::permissions(documents, std::filesystem::perms(0555));
    EXPECT_EQ(0, asOrdinaryUser([&] {
                  store.save(marked(1, 'a', 10));
                  // What a killed save has left in the directory is no collection, and goes.
                  put(".ambrel-saving-killed", "{}");
                  if (store.savedCollections().size() != 1) {
                      return 3;
                  }
                  store.save(marked(1, 'b', 10));
                  const bool saved = store.savedCollections() == std::vector{marked(1, 'b', 10)};
                  return saved && names(collections).size() == 1 && reports.empty() ? 0 : 1;
              }));
    std::filesystem::permissions(documents, std::filesystem::perms(0755));
}

TEST_F(SaveInterruptedTest, ASaveThatMayNotOutlastALossOfPowerSaysSo) {
    std::filesystem::create_directory(collections);
    EXPECT_EQ(0, asOrdinaryUser([&] {
                  std::filesystem::permissions(collections, std::filesystem::perms(0300));
                  store.save(marked(1, 'a', 10));
                  std::filesystem::permissions(collections, std::filesystem::perms(0700));
                  return store.savedCollections() == std::vector{marked(1, 'a', 10)} &&
                                 reports.size() == 1 &&
                                 reports[0].find("1.0: it is written, but") != std::string::npos
                             ? 0
                             : 1;
              }));
}

} // namespace
} // namespace AmbrelKit
