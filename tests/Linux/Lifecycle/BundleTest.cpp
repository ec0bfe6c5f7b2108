#include "AmbrelKit/Platform/Bundle.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace AmbrelKit {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;

/// The three places of a dictionary, put back as they were.
class BundleTest : public testing::Test {
protected:
    void TearDown() override {
        fs::remove(beside);
        fs::remove(named);
        unsetenv("AMBREL_INFO");
        Bundle::main().setInfoDictionary(std::nullopt);
    }

    static void write(const fs::path& file, const std::string& text) {
        std::ofstream(file) << text;
    }

    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    const fs::path beside = folder / "Info.json";
    const fs::path named = folder / "Named.json";
};

// One test, since all of it shares the one file beside the executable.
TEST_F(BundleTest, ReadsTheFirstDictionaryThatIsThere) {
    Bundle& bundle = Bundle::main();
    const auto whose = [&]() -> std::string {
        EXPECT_EQ(bundle.problem(), std::nullopt);
        const auto dictionary = bundle.infoDictionary();
        return dictionary ? dictionary->at("whose").get<std::string>() : "nobody";
    };
    EXPECT_EQ(whose(), "nobody");
    bundle.setInfoDictionary(JSONDictionary{{"whose", "host"}});
    EXPECT_EQ(whose(), "host");
    write(beside, R"({"whose": "beside"})");
    EXPECT_EQ(whose(), "beside");
    write(named, R"({"whose": "named"})");
    setenv("AMBREL_INFO", named.c_str(), 1);
    EXPECT_EQ(whose(), "named");
    setenv("AMBREL_INFO", "", 1);
    EXPECT_EQ(whose(), "beside");
    fs::remove(beside);
    EXPECT_EQ(whose(), "host");
    bundle.setInfoDictionary(std::nullopt);
    EXPECT_EQ(whose(), "nobody");

    struct Case {
        const char* text;
        const char* problem; ///< a part of it
    };
    setenv("AMBREL_INFO", named.c_str(), 1);
    for (const Case& unusable : std::initializer_list<Case>{
             {"", "no JSON"},
             {R"({"NSBonjourServices": ["_ipp._tcp"]} x)", "no JSON"},
             {"{\"a\": \"\xFF\"}", "no JSON"},
             {R"({"x": 1e999})", "out of range"},
             {R"(["_ipp._tcp"])", "not a JSON object"},
             {R"({"NSBonjourServices": "_ipp._tcp"})", "not a list of strings"},
             {R"({"NSBonjourServices": null})", "not a list of strings"},
             {R"({"NSBonjourServices": ["_ipp._tcp", 1]})", "not a list of strings"},
             {R"({"CFBundleIdentifier": ["org.example"]})", "not a string"},
         }) {
        SCOPED_TRACE(unusable.text);
        write(named, unusable.text);
        EXPECT_THAT(bundle.problem().value_or(""), HasSubstr(unusable.problem));
        EXPECT_EQ(bundle.bonjourServices(), std::nullopt);
        EXPECT_EQ(bundle.identifier(), std::nullopt);
    }

    write(named, R"({"NSBonjourServices": ["_b._tcp", "_a._udp.", "_b._tcp"]})");
    EXPECT_EQ(bundle.problem(), std::nullopt);
    EXPECT_THAT(bundle.bonjourServices().value(), ElementsAre("_b._tcp", "_a._udp.", "_b._tcp"));
    write(named, "{}");
    EXPECT_EQ(bundle.problem(), std::nullopt);
    EXPECT_EQ(bundle.bonjourServices(), std::nullopt);

    // A file that is named has to be there; whatever stands beside the executable has to be read.
    bundle.setInfoDictionary(JSONDictionary{});
    fs::remove(named);
    EXPECT_THAT(bundle.problem().value_or(""), HasSubstr("No such file"));
    EXPECT_EQ(bundle.infoDictionary(), std::nullopt);
    mkfifo(named.c_str(), S_IRWXU); // is not waited for
    EXPECT_THAT(bundle.problem().value_or(""), HasSubstr("not a regular file"));
    unsetenv("AMBREL_INFO");
    fs::create_directory(beside);
    EXPECT_THAT(bundle.problem().value_or(""), HasSubstr("Is a directory"));
    EXPECT_EQ(bundle.infoDictionary(), std::nullopt);
}

} // namespace
} // namespace AmbrelKit
