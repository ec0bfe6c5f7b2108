#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"
#include "AmbrelKit/Simulated/Host.hpp"
#include "tests/Public/StorageFixture.hpp"
#include "tests/support/QuietHost.hpp"

#include <atomic>
#include <csignal>
#include <gmock/gmock.h>
#include <thread>

// What more than one thread or process may do at once: for `./dev test-threads` above all.

namespace AmbrelKit {
namespace {

using namespace std::chrono_literals;

class Threads : public StorageTest {
protected:
    Threads() {
        store.report = [](const std::string&) {}; // of files that another has deleted meanwhile
    }

    /// Saves, lists and deletes a few names that all others use, too; false where something half
    /// was read.
    bool keepHouse(int turns) const {
        bool whole = true;
        for (int i = 0; i < turns; ++i) {
            const int name = i % 7;
            store.save(dictionary(name, std::string(5000, static_cast<char>('a' + name))));
            store.forEachSavedCollection(0, 100, [&](const JSONDictionary& read) {
                const auto letter = static_cast<char>('a' + read.at("timestamp").get<int>());
                whole = whole && read.at("content") == std::string(5000, letter);
            });
            whole = whole && store.savedTimestamps().size() <= 8;
            if (i % 3 == 0) {
                store.delete_(dictionary((name + 3) % 7));
            }
        }
        return whole;
    }
};

TEST_F(Threads, AStoreServesAKitsThreadOthersAndAnotherProcess) {
    const pid_t process = startChild([this] { return keepHouse(60) ? 0 : 1; });
    std::atomic<bool> whole = true;
    std::thread other([&] { whole = keepHouse(60); });
    {
        Simulated::Platform platform;
        Simulated::Host host(platform, std::nullopt);
        host.setDeliveryHandler([this](const JSONDictionary& data) {
            JSONDictionary kept = data;
            kept["timestamp"] = 1000;
            store.save(kept);
        });
        for (int i = 0; i < 60; ++i) {
            host.sdk()->startScanningOnce(); // nothing is granted: delivered at once
            platform.clock().advanceBy(11s);
        }
    }
    other.join();
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(whole);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(store.savedTimestamps().back(), 1000);
    EXPECT_THAT(names(collections), testing::Each(testing::Not(testing::EndsWith("tmp"))));
}

/// Loops are made at the same moment, so that what they load is loaded then.
TEST_F(Threads, EachHasALoopOfItsOwn) {
    std::atomic<int> ready = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (++ready; ready < 4;) {
            }
            const auto loop = RunLoop::current();
            int posted = 0;
            const auto observer = NotificationCenter::default_()->addObserver(
                "tick", [&](const Notification&) { posted += posted == 50 ? loop->stop(), 0 : 1; });
            const auto timer = loop->scheduledTimer(
                0.001, true, [](Timer&) { NotificationCenter::default_()->post("tick"); });
            loop->run();
            EXPECT_EQ(posted, 50);
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

/// One thread after the other has the process's kits, while the main thread uses its own loop.
TEST_F(Threads, KitsLiveOnOneThreadAfterTheOther) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere", 1);
    std::thread kits([] {
        for (int i = 0; i < 20; ++i) {
            std::thread([] {
                const auto loop = RunLoop::current();
                auto services = Linux::platformServices();
                services.bonjourServices = {"_ipp._tcp."};
                const auto kit = Linux::create(std::move(services));
                const auto host = std::make_shared<QuietHost>();
                host->network = AmbrelPermissionStatus::unknown;
                host->bluetooth = host->location = AmbrelPermissionStatus::granted;
                kit->setDelegate(host);
                kit->startScanning();
                const auto soon = loop->scheduledTimer(0.005, false, [&](Timer&) { loop->stop(); });
                loop->run();
            }).join();
        }
    });
    const auto loop = RunLoop::current();
    const auto timer = loop->scheduledTimer(0.1, false, [&](Timer&) { loop->stop(); });
    loop->run();
    kits.join();
}

TEST_F(Threads, SignalsInterruptALoopOnly) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr); // without SA_RESTART
    const auto loop = RunLoop::current();
    int ticks = 0;
    const auto timer = loop->scheduledTimer(0.002, true, [&](Timer&) {
        if (++ticks == 50) {
            loop->stop();
        }
    });
    std::atomic<bool> over = false;
    std::thread sender([&over, here = pthread_self()] {
        while (!over) {
            pthread_kill(here, SIGUSR1);
            std::this_thread::sleep_for(200us);
        }
    });
    loop->run();
    EXPECT_TRUE(keepHouse(5));
    over = true;
    sender.join();
    EXPECT_EQ(ticks, 50);
}

} // namespace
} // namespace AmbrelKit
