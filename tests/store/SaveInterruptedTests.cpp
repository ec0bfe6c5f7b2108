// Saves that are cut short, or meet others: what was saved before stays whole.

#include "tests/store/StorageFixture.hpp"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <thread>

namespace AmbrelKit {
namespace {

using namespace testing;

constexpr int skipped = 77;

/// Gives this process a view of the mounted file systems of its own.
bool ownMounts() {
    return (unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

class SaveInterruptedTest : public StorageTest {
protected:
    /// A dictionary that shows whether it is whole, and which it is.
    static JSONDictionary marked(int timestamp, char mark, std::size_t length) {
        return dictionary(timestamp, std::string(length, mark));
    }

    static bool isMarked(const JSONDictionary& collection, std::size_t length) {
        const std::string text = collection.at("content");
        return text.size() == length && text.find_first_not_of(text.front()) == text.npos;
    }

    [[nodiscard]] bool leftSomething() const { return names(documents).size() > 1; }

    /// Waits until there is an entry beside the collections that was not there `before`.
    [[nodiscard]] bool beginsToSave(const std::vector<std::string>& before) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < end) {
            const auto now = names(documents);
            if (std::any_of(now.begin(), now.end(), [&before](const auto& name) {
                    return std::find(before.begin(), before.end(), name) == before.end();
                })) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(SaveInterruptedTest, AFullDiskLeavesTheEarlierFile) {
    // The disk is the documents folder, or the directory alone.
    for (const auto& disk : {documents, collections}) {
        std::filesystem::create_directories(disk);
        const int status = inChild([&] {
            if (!ownMounts() || mount("none", disk.c_str(), "tmpfs", 0, "size=1m") != 0) {
                return skipped;
            }
            const auto earlier = marked(1, 'a', 300'000);
            store.save(earlier);
            store.save(marked(1, 'b', 2'000'000));
            store.save(marked(2, 'c', 800'000));
            const bool kept = store.savedCollections() == std::vector{earlier};
            // What did not fit took nothing away from what does.
            store.save(marked(3, 'd', 400'000));
            return kept && reports.size() == 2 && store.savedCollections().size() == 2 ? 0 : 1;
        });
        if (status == skipped) {
            GTEST_SKIP() << "may not mount here";
        }
        EXPECT_EQ(status, 0) << disk;
    }
}

TEST_F(SaveInterruptedTest, AKilledSaveLeavesWholeFiles) {
    constexpr int kills = 500;
    constexpr std::size_t length = 50'000;
    std::mt19937 random(1);
    int inTheMiddle = 0;
    store.save(marked(0, 'z', length));
    for (int i = 0; i < kills; ++i) {
        const int timestamp = i % 2; // an earlier file, and one that is not there yet
        std::filesystem::remove(collections / "1.0");
        const auto before = names(documents);
        const pid_t child = startChild([this, timestamp] {
            for (char mark = 'a';; mark = mark == 'z' ? 'a' : static_cast<char>(mark + 1)) {
                store.save(marked(timestamp, mark, length));
            }
            return 0;
        });
        const bool began = beginsToSave(before);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        ASSERT_TRUE(began);
        inTheMiddle += leftSomething() ? 1 : 0;
        const auto saved = store.savedCollections();
        ASSERT_TRUE(std::all_of(saved.begin(), saved.end(),
                                [](const auto& each) { return isMarked(each, length); }));
        ASSERT_TRUE(std::filesystem::exists(collections / "0.0"));
    }
    EXPECT_GT(inTheMiddle, kills / 10);
    store.save(marked(0, 'z', length));
    EXPECT_FALSE(leftSomething());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(SaveInterruptedTest, TwoProcessesSaveOneTimestamp) {
    constexpr std::size_t length = 100'000;
    store.save(marked(1, 'z', length));
    std::vector<pid_t> children;
    for (const char mark : {'a', 'b'}) {
        children.push_back(startChild([this, mark] {
            for (int i = 0; i < 200; ++i) {
                store.save(marked(1, mark, length));
            }
            return static_cast<int>(reports.size());
        }));
    }
    for (const pid_t child : children) {
        int status = 0;
        while (waitpid(child, &status, WNOHANG) == 0) {
            const auto saved = store.savedCollections();
            ASSERT_THAT(saved, SizeIs(1));
            ASSERT_TRUE(isMarked(saved[0], length));
        }
        EXPECT_EQ(status, 0);
    }
    EXPECT_NE(store.savedCollections(), std::vector{marked(1, 'z', length)});
    EXPECT_FALSE(leftSomething());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(SaveInterruptedTest, TheFolderAboveNeedNotBeWritable) {
    constexpr uid_t nobody = 65534;
    std::filesystem::create_directory(collections);
    const bool isRoot = geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(chown(collections.c_str(), nobody, nobody), 0);
    }
    std::filesystem::permissions(documents, std::filesystem::perms(0555));
    EXPECT_EQ(0, inChild([&] {
                  if (isRoot && setresuid(nobody, nobody, nobody) != 0) {
                      return 2;
                  }
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

} // namespace
} // namespace AmbrelKit
