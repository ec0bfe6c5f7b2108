#ifndef AMBREL_TESTS_PUBLIC_STORAGEFIXTURE_HPP
#define AMBREL_TESTS_PUBLIC_STORAGEFIXTURE_HPP

#include <AmbrelKit/AmbrelStorage.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

namespace AmbrelKit {

/// A documents folder of the test's own, and the reports of the store.
class StorageTest : public testing::Test {
protected:
    StorageTest() {
        std::string folder = testing::TempDir() + "ambrel-store-XXXXXX";
        documents = mkdtemp(folder.data());
        collections = documents / "collections";
        setenv("AMBREL_DOCUMENTS_DIR", documents.c_str(), 1);
        store.report = [this](const std::string& line) { reports.push_back(line); };
    }

    ~StorageTest() override {
        store.report = originalReport;
        std::filesystem::remove_all(documents);
    }

    static JSONDictionary dictionary(JSONValue timestamp, JSONValue content = nullptr) {
        return {{"timestamp", std::move(timestamp)}, {"content", std::move(content)}};
    }

    static std::string contents(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void put(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(collections);
        std::ofstream(collections / name, std::ios::binary) << text;
    }

    static std::vector<std::string> names(const std::filesystem::path& directory) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

public:
    /// Runs `work` in a process of its own.
    static pid_t startChild(const std::function<int()>& work) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(work());
        }
        return child;
    }

protected:
    /// What `work` returns in a process of its own, in which the documents folder and all in it
    /// belong to a user who may not do everything.
    [[nodiscard]] int asOrdinaryUser(const std::function<int()>& work) const {
        int status = 0;
        const pid_t child = startChild([this, &work] {
            constexpr uid_t nobody = 65534;
            if (geteuid() == 0) {
                for (const auto& entry : std::filesystem::recursive_directory_iterator(documents)) {
                    EXPECT_EQ(chown(entry.path().c_str(), nobody, nobody), 0);
                }
                EXPECT_EQ(chown(documents.c_str(), nobody, nobody), 0);
                EXPECT_EQ(setresuid(nobody, nobody, nobody), 0);
            }
            return work();
        });
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    AmbrelStorage& store = AmbrelStorage::shared();
    decltype(store.report) originalReport = store.report;
    std::filesystem::path documents;
    std::filesystem::path collections;
    std::vector<std::string> reports;
};

} // namespace AmbrelKit

#endif
