#include "AmbrelKit/Linux/NearbyDevices/QuestionOrder.hpp"

#include <gtest/gtest.h>

namespace {

using AmbrelKit::Linux::loopbackInterface;
using AmbrelKit::Linux::QuestionOrder;

/// The questions up to the end of the round: "2+" with the TXT record on interface 2, "2-" without.
std::string rest(QuestionOrder& order) {
    std::string text;
    while (const auto question = order.next()) {
        text += std::to_string(question->interface) + (question->withTXT ? "+ " : "- ");
    }
    return text;
}

TEST(QuestionOrderTest, AsksOnEveryInterfaceWithTheTXTRecordBeforeAnyWithout) {
    QuestionOrder order(loopbackInterface);
    EXPECT_TRUE(order.add(4));
    EXPECT_TRUE(order.add(3));
    EXPECT_FALSE(order.add(4));
    EXPECT_EQ(rest(order), "4+ 3+ 1+ 4- 3- 1- ");
    EXPECT_EQ(rest(order), "4+ 3+ 1+ 4- 3- 1- ") << "and again";
    static_cast<void>(order.next());
    order.restart();
    EXPECT_EQ(rest(order), "4+ 3+ 1+ 4- 3- 1- ");
}

TEST(QuestionOrderTest, AnInterfaceThatComesInBetweenIsAskedWithTheTXTRecordFirst) {
    QuestionOrder order(2);
    EXPECT_EQ(order.next(), (QuestionOrder::Question{2, true}));
    EXPECT_EQ(order.next(), (QuestionOrder::Question{2, false}));
    order.add(3);
    EXPECT_EQ(rest(order), "3+ 3- ");
}

TEST(QuestionOrderTest, WhatAnswersWithoutIsAskedForTheTXTRecordOnce) {
    QuestionOrder order(2);
    order.add(3);
    order.onlyWithTXT(3);
    EXPECT_EQ(rest(order), "3+ ");
    EXPECT_EQ(rest(order), "2+ 3+ 2- 3- ");
}

} // namespace
