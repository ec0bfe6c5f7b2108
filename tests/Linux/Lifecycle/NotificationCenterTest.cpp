#include "AmbrelKit/Platform/NotificationCenter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace AmbrelKit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NotificationCenterTest : public testing::Test {
protected:
    std::shared_ptr<NotificationObserver> observe(const std::optional<std::string>& name,
                                                  const std::string& label) {
        return center->addObserver(name, [this, label](const Notification& notification) {
            called.push_back(label + " " + notification.name);
        });
    }

    std::vector<std::string> calledBy(std::string_view name) {
        called.clear();
        center->post(name);
        return called;
    }

    const std::shared_ptr<NotificationCenter> center = NotificationCenter::default_();
    std::vector<std::string> called;
};

TEST_F(NotificationCenterTest, CallsTheObserversOfTheNameInTheirOrder) {
    const auto first = observe("a", "first");
    const auto every = observe(std::nullopt, "every");
    auto third = observe("a", "third");
    EXPECT_THAT(calledBy("a"), ElementsAre("first a", "every a", "third a"));
    EXPECT_THAT(calledBy("b"), ElementsAre("every b"));

    third.reset();
    center->removeObserver(every);
    center->removeObserver(every);
    center->removeObserver(nullptr);
    EXPECT_THAT(calledBy("a"), ElementsAre("first a"));
    EXPECT_THAT(calledBy("b"), IsEmpty());
}

TEST_F(NotificationCenterTest, ABlockMayChangeTheObservers) {
    std::shared_ptr<NotificationObserver> removed;
    std::shared_ptr<NotificationObserver> dropped;
    std::shared_ptr<NotificationObserver> added;
    std::shared_ptr<NotificationObserver> self;
    self = center->addObserver("a", [&](const Notification&) {
        called.emplace_back("self");
        center->removeObserver(removed);
        dropped.reset();
        added = observe("a", "added");
        self.reset();
    });
    removed = observe("a", "removed");
    dropped = observe("a", "dropped");
    const auto last = observe("a", "last");
    EXPECT_THAT(calledBy("a"), ElementsAre("self", "last a"));
    EXPECT_THAT(calledBy("a"), ElementsAre("last a", "added a"));
}

TEST_F(NotificationCenterTest, ABlockMayPost) {
    const auto outer = center->addObserver("a", [&](const Notification&) {
        called.emplace_back("outer");
        center->post("b");
    });
    const auto inner = observe("b", "inner");
    const auto last = observe("a", "last");
    EXPECT_THAT(calledBy("a"), ElementsAre("outer", "inner b", "last a"));
}

TEST_F(NotificationCenterTest, AnExceptionEndsItsPostOnly) {
    bool angry = true;
    const auto thrower = center->addObserver("a", [&](const Notification&) {
        if (angry) {
            throw std::runtime_error("angry");
        }
    });
    const auto last = observe("a", "last");
    EXPECT_THROW(center->post("a"), std::runtime_error);
    EXPECT_THAT(called, IsEmpty());
    angry = false;
    EXPECT_THAT(calledBy("a"), ElementsAre("last a"));
}

TEST_F(NotificationCenterTest, EachThreadHasItsOwn) {
    const auto observer = observe("a", "main");
    std::thread([] { NotificationCenter::default_()->post("a"); }).join();
    EXPECT_THAT(called, IsEmpty());
}

} // namespace
} // namespace AmbrelKit
