#include "tests/Public/StorageFixture.hpp"
#include "tests/support/Isolation.hpp"

#include <gmock/gmock.h>
#include <limits>
#include <sys/stat.h>
#include <utility>

namespace AmbrelKit {
namespace {

using namespace testing;
using Names = std::vector<std::string>;

TEST_F(StorageTest, NamesAFileByTheShortestTextOfItsTimestamp) {
    const struct {
        JSONValue timestamp;
        const char* name; ///< null: nothing is saved
    } cases[] = {
        {1700000000, "1700000000.0"},
        {0, "0.0"},
        {-5, "-5.0"},
        {-0.0, "-0.0"},
        {1.5, "1.5"},
        {0.1, "0.1"},
        {1700000000.125, "1700000000.125"},
        {0.0001, "0.0001"},
        {0.00001, "1e-05"},
        {-1.25e-7, "-1.25e-07"},
        {5e-324, "5e-324"},
        {999999999999999, "999999999999999.0"},
        {1e15, "1000000000000000.0"},
        {9007199254740992, "9007199254740992.0"},
        {9007199254740993, nullptr},
        {9007199254740994, "9.007199254740994e+15"},
        {-9007199254740993, nullptr},
        {1e16, "1e+16"},
        {1e22, "1e+22"},
        {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
        {std::numeric_limits<std::int64_t>::min(), "-9.223372036854776e+18"},
        {std::numeric_limits<std::int64_t>::max(), nullptr},
        {std::uint64_t{1} << 63U, "9.223372036854776e+18"},
        {std::numeric_limits<std::uint64_t>::max(), nullptr},
        {true, nullptr},
        {"1700000000", nullptr},
        {nullptr, nullptr},
        {JSONValue::array({1}), nullptr},
    };
    for (const auto& [timestamp, name] : cases) {
        SCOPED_TRACE(timestamp.dump());
        std::filesystem::remove_all(collections);
        store.save(dictionary(timestamp));
        EXPECT_EQ(std::filesystem::exists(collections), name != nullptr);
        if (name != nullptr) {
            EXPECT_THAT(names(collections), ElementsAre(name));
            EXPECT_THAT(store.savedCollections(), ElementsAre(dictionary(timestamp)));
        }
        store.delete_(dictionary(timestamp, "other"));
        EXPECT_TRUE(name == nullptr || std::filesystem::is_empty(collections));
    }
    store.save({{"content", 1}});
    store.delete_({});
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(StorageTest, KeepsTheLatestDictionaryOfATimestamp) {
    EXPECT_THAT(store.savedCollections(), IsEmpty());
    EXPECT_THAT(reports, ElementsAre(HasSubstr("collections: No such file")));
    reports.clear();

    store.save(dictionary(5, "a first one that is longer than the one after"));
    store.save(dictionary(5.0, {{"key \"\\\n\u20ac", {1, -2.5, true, nullptr}}}));
    EXPECT_EQ(contents(collections / "5.0"),
              "{\"content\":{\"key \\\"\\\\\\n\u20ac\":[1,-2.5,true,null]},\"timestamp\":5.0}");
    EXPECT_THAT(names(documents), ElementsAre("collections"));
    const mode_t mask = umask(0);
    store.save(dictionary(6));
    umask(mask);
    EXPECT_EQ(std::filesystem::status(collections / "6.0").permissions(),
              std::filesystem::perms(0600));
    EXPECT_THAT(reports, IsEmpty());

    store.delete_(dictionary(7));
    EXPECT_THAT(reports, ElementsAre(HasSubstr("7.0: No such file")));
    EXPECT_THAT(names(collections), UnorderedElementsAre("5.0", "6.0"));
}

TEST_F(StorageTest, ReportsWhatHasNoJSONFormAndKeepsTheEarlierFile) {
    JSONValue deep = 1;
    for (int i = 0; i < 512; ++i) {
        deep = JSONValue::array({deep});
    }
    const JSONValue values[] = {
        std::nan(""),
        -std::numeric_limits<double>::infinity(),
        JSONValue::binary({1, 2}),
        JSONValue(JSONValue::value_t::discarded),
        "ill-formed \xFF",
        {{"ill-formed \xC3", 1}},
        {1, {{"deeper", {std::nan("")}}}},
        deep,
    };
    store.save(dictionary(5, deep[0]));
    const std::string earlier = contents(collections / "5.0");
    EXPECT_THAT(reports, IsEmpty());
    for (const JSONValue& value : values) {
        reports.clear();
        store.save(dictionary(5, value));
        EXPECT_THAT(reports, SizeIs(1)) << value.type_name();
        EXPECT_EQ(contents(collections / "5.0"), earlier);
    }
    store.save(dictionary(std::nan("")));
    EXPECT_THAT(reports, SizeIs(2));
    EXPECT_THAT(names(collections), ElementsAre("5.0"));
}

TEST_F(StorageTest, SkipsEntriesThatAreNoCollections) {
    const struct {
        std::string name;
        std::string text;
        bool listed;
        bool reported;
    } cases[] = {
        {"1.0", R"({"content":1})", true, false},
        {".hidden", R"({"content":2})", true, false},
        {"name \xFF that is no text", R"({"content":3})", true, false},
        {"bad\xFF\n\x1B[2J\xC2\x9B", "no JSON", false, true},
        {"empty", "", false, true},
        {"two", R"({"content":4}{"content":5})", false, true},
        {"cut", R"({"content":4)", false, true},
        {"ill-formed", "{\"content\":\"\xFF\"}", false, true},
        {"beyond", R"({"content":1e999})", false, true},
        {"deep", std::string(100'000, '['), false, true},
        {"brackets", R"({"content":")" + std::string(600, '[') + "\"}", true, false},
        {"array", "[1]", false, false},
        {"text", "\"text\"", false, true},
        {"number", "1", false, true},
        {"truth", "true", false, true},
        {"null", "null", false, true},
        {"zero byte", std::string("{}\0{}", 5), false, true},
    };
    std::size_t listed = 0;
    std::size_t reported = 5; // the entries below
    for (const auto& each : cases) {
        put(each.name, each.text);
        listed += each.listed ? 1 : 0;
        reported += each.reported ? 1 : 0;
    }
    put("endless file", "");
    std::filesystem::resize_file(collections / "endless file", 200'000'000'000);
    std::filesystem::create_directory(collections / "directory");
    std::filesystem::create_symlink("nowhere", collections / "dangling");
    std::filesystem::create_symlink("/dev/zero", collections / "endless");
    mkfifo((collections / "pipe").c_str(), S_IRWXU);

    EXPECT_THAT(store.savedCollections(), SizeIs(listed));
    EXPECT_THAT(reports, SizeIs(reported));
    for (const std::string& line : reports) {
        EXPECT_THAT(line, StartsWith(collections.string() + "/"));
        EXPECT_NO_THROW((void)JSONValue(line).dump()); // UTF-8
        EXPECT_THAT(line, Not(AnyOf(HasSubstr("\n"), HasSubstr("\x1B"), HasSubstr("\xC2\x9B"))));
    }
}

TEST_F(StorageTest, ReportsByItsPathWhatMayNotBeReadOrMade) {
    put("1.0", R"({"content":1})");
    put("2.0", R"({"content":2})");
    std::filesystem::permissions(collections / "1.0", std::filesystem::perms::none);
    EXPECT_EQ(0, asOrdinaryUser([this] {
                  const auto list = store.savedCollections();
                  std::filesystem::permissions(documents, std::filesystem::perms::none);
                  store.save(dictionary(1));
                  std::filesystem::permissions(documents, std::filesystem::perms::owner_all);
                  const std::string reason = ": Permission denied";
                  return list == std::vector<JSONDictionary>{{{"content", 2}}} &&
                                 reports == Names{collections.string() + "/1.0" + reason,
                                                  collections.string() + reason}
                             ? 0
                             : 1;
              }));
}

TEST_F(StorageTest, UsesNoDirectoryThatAnotherUserOwns) {
    const std::string said = outputOf([this] {
        if (geteuid() == 0) {
            std::filesystem::create_directory(collections);
            EXPECT_EQ(chown(collections.c_str(), 1, 1), 0);
        } else { // in namespaces of one's own everybody else is one other user
            std::cout << isolate();
            std::filesystem::create_symlink("/", collections);
        }
        store.save(dictionary(1));
        store.delete_(dictionary(1));
        std::cout << store.savedCollections().size();
        for (const std::string& report : reports) {
            std::cout << report.substr(collections.string().size());
        }
    });
    if (said.find("the kernel refuses") == 0) {
        GTEST_SKIP() << said;
    }
    const std::string report = ": it belongs to another user";
    EXPECT_EQ(said, "0" + report + report + report);
}

TEST_F(StorageTest, ReportsAFileWhereTheDirectoryShouldBe) {
    std::ofstream(collections) << "text";
    store.save(dictionary(1));
    EXPECT_THAT(reports, ElementsAre(HasSubstr("Not a directory")));
    EXPECT_THAT(store.savedCollections(), IsEmpty());
    store.delete_(dictionary(1));
    EXPECT_THAT(reports, SizeIs(3));
    EXPECT_EQ(contents(collections), "text");
    EXPECT_THAT(names(documents), ElementsAre("collections"));
}

TEST_F(StorageTest, VisitsByTime) {
    for (const double time : {3.0, -1.0, 2.5, 1e16, 0.0}) {
        store.save(dictionary(time));
    }
    put("named by hand", R"({"timestamp":2})");
    put("another", R"({"timestamp":2.75})");
    put("one more", R"({"timestamp":2e16})");
    put("without a time", "{}");
    put("2.50", R"({"timestamp":2.6})"); // the store would have called it 2.5
    std::filesystem::create_directory(collections / "2.0");
    const auto visited = [this](double since, double until) {
        std::vector<double> times;
        store.forEachSavedCollection(since, until, [&](const JSONDictionary& collection) {
            times.push_back(collection.empty() ? -100 : collection.at("timestamp").get<double>());
            store.delete_(collection);
        });
        return times;
    };
    const double ever = std::numeric_limits<double>::infinity();
    EXPECT_THAT(store.savedTimestamps(), ElementsAre(-1, 0, 2, 2.5, 3, 1e16));
    EXPECT_THAT(visited(2.1, 3), ElementsAre(2.5, 2.6, 2.75, 3));
    EXPECT_THAT(std::exchange(reports, {}),
                ElementsAre(HasSubstr("2.6: No such file"), HasSubstr("2.75: No such file")));
    EXPECT_THAT(visited(-ever, ever), ElementsAre(-100, -1, 0, 2, 2.6, 2.75, 1e16, 2e16));
    // The directory is skipped; what is named by hand is not found by its time, and stays.
    EXPECT_THAT(reports, ElementsAre(HasSubstr("2.0: Is a dir"), HasSubstr("2.0: Is a dir"),
                                     HasSubstr("2.6: No such file"),
                                     HasSubstr("2.75: No such file"), HasSubstr("2e+16: No such")));
}

TEST_F(StorageTest, FindsTheDocumentsFolder) {
    const std::string base = documents;
    const struct {
        const char* ambrel;
        const char* state;
        const char* data;
        const char* home;
        std::string path;
    } cases[] = {
        {"/a", "/s", "/d", "/h", "/a/collections"},
        {"", "/s", "/d", "/h", "/s/collections"},
        {nullptr, "/s:/t", "/d", "/h", "/s/collections"},
        {nullptr, nullptr, "/d", "/h", "/d/ambrelkit/collections"},
        {nullptr, nullptr, "relative", "/h", "/h/.local/share/ambrelkit/collections"},
        {nullptr, "", nullptr, nullptr, "/collections"},
        {nullptr, nullptr, nullptr, base.c_str(), base + "/.local/share/ambrelkit/collections"},
    };
    const std::string home = getenv("HOME") != nullptr ? getenv("HOME") : "";
    const auto set = [](const char* name, const char* value) {
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    };
    for (const auto& each : cases) {
        set("AMBREL_DOCUMENTS_DIR", each.ambrel);
        set("STATE_DIRECTORY", each.state);
        set("XDG_DATA_HOME", each.data);
        set("HOME", each.home);
        EXPECT_EQ(AmbrelStorage::path(), each.path);
    }
    store.save(dictionary(1));
    setenv("HOME", home.c_str(), 1);
    EXPECT_THAT(reports, IsEmpty());
    for (const char* made :
         {".local", ".local/share/ambrelkit", ".local/share/ambrelkit/collections"}) {
        EXPECT_EQ(std::filesystem::status(documents / made).permissions(),
                  std::filesystem::perms::owner_all);
    }
}

TEST(StorageReports, GoToStandardOutputByDefault) {
    setenv("AMBREL_DOCUMENTS_DIR", "/nowhere", 1);
    ASSERT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            exit(AmbrelStorage::shared().savedCollections().empty() ? 0 : 1);
        },
        ExitedWithCode(0), "^/nowhere/collections: No such file or directory\n$");
}

} // namespace
} // namespace AmbrelKit
