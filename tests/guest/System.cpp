#include "tests/guest/System.hpp"

#include "tests/guest/Radio.hpp"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <thread>
#include <utility>

using namespace std::chrono_literals;

namespace {

std::pair<int, std::string> run(const std::string& command) {
    FILE* const pipe = popen(("(" + command + ") 2>&1").c_str(), "r");
    std::string output;
    for (int byte = std::getc(pipe); byte != EOF; byte = std::getc(pipe)) {
        output += static_cast<char>(byte);
    }
    const int status = pclose(pipe);
    if (output.ends_with('\n')) {
        output.pop_back();
    }
    return {status, output};
}

std::string contents(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

} // namespace

std::string shell(const std::string& command) {
    const auto [status, output] = run(command);
    EXPECT_EQ(status, 0) << command << ": " << output;
    return output;
}

bool succeeds(const std::string& command) { return run(command).first == 0; }

bool eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + 90s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(100ms);
    }
    return true;
}

int sleepDelays() {
    const auto all = nlohmann::json::parse(
        shell("busctl --json=short call org.freedesktop.login1 /org/freedesktop/login1 "
              "org.freedesktop.login1.Manager ListInhibitors"));
    int count = 0;
    for (const auto& each : all.at("data").at(0)) {
        count += each.at(0) == "sleep" && each.at(1) == "ambrel" && each.at(3) == "delay" ? 1 : 0;
    }
    return count;
}

void sleepFor(int seconds) {
    const std::string slept = "/sys/power/suspend_stats/success";
    const auto before = contents(slept);
    shell("echo " + std::to_string(seconds) + " >/run/seconds-asleep; systemctl suspend");
    EXPECT_TRUE(eventually([&] { return contents(slept) != before; })) << "it does not sleep";
    EXPECT_TRUE(eventually([] { return succeeds("! systemctl -q is-active systemd-suspend"); }));
}

std::set<std::string> names(const nlohmann::json& record) {
    std::set<std::string> all;
    for (const char* list : {"bleScan", "nearbyDevices"}) {
        for (const auto& each : record.at(list)) {
            all.insert(each.value("name", ""));
        }
    }
    return all;
}

const std::set<std::string>& everybody() {
    static const std::set<std::string> all = [] {
        std::set<std::string> heard{"Printer of the guest"};
        for (int i = 0; i < advertisers; ++i) {
            const auto name = Advertiser::number(i).name;
            heard.insert(name.ends_with(noncharacter) ? name.substr(0, name.size() - 3) + "\uFFFD"
                                                      : name);
        }
        return heard;
    }();
    return all;
}

const std::string Unit::service = "-p User=user";

std::string Unit::login(const std::string& user, int terminal) {
    return "-p PAMName=login -p StandardInput=tty -p User=" + user + " -p TTYPath=/dev/tty" +
           std::to_string(terminal);
}

Unit::Unit(std::string name, const std::string& kind, const std::string& command)
    : name_(std::move(name)) {
    const auto file = " -p StandardOutput=file:/run/" + name_ + ".out -p StandardError=file:/run/" +
                      name_ + ".err ";
    shell("rm -f /run/" + name_ + ".*; systemd-run -q --collect --unit=" + name_ +
          " -p Environment=AMBREL_CONFIG= " + kind + file + command);
}

Unit::~Unit() { succeeds("systemctl stop " + name_); }

std::vector<nlohmann::json> Unit::delivered() const {
    std::vector<nlohmann::json> records;
    std::istringstream lines(contents("/run/" + name_ + ".out"));
    for (std::string line; std::getline(lines, line) && !lines.eof();) {
        records.push_back(nlohmann::json::parse(line));
    }
    return records;
}

testing::AssertionResult Unit::delivers(std::size_t count) const {
    eventually([&] { return delivered().size() >= count; });
    const auto all = delivered().size();
    return (all == count ? testing::AssertionSuccess() : testing::AssertionFailure())
           << all << " delivered, where " << count
           << " were expected; it said: " << contents("/run/" + name_ + ".err");
}

bool Unit::ends() const {
    return eventually([&] { return !succeeds("systemctl -q is-active " + name_); });
}
