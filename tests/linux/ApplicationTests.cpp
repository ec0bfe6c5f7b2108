#include "AmbrelKit/Platform/Application.hpp"

#include <gtest/gtest.h>

namespace AmbrelKit {
namespace {

TEST(Application, ATaskIsANumberOfItsOwnAndItsTimeIsNeverUp) {
    const auto application = Application::shared();
    const auto expire = [] { FAIL(); };
    const auto first = application->beginBackgroundTask("first", expire);
    const auto second = application->beginBackgroundTask("second", expire);
    EXPECT_LT(first, second);
    application->endBackgroundTask(first);
    application->endBackgroundTask(first);
    application->endBackgroundTask(second + 100);
    EXPECT_LT(second, Application::shared()->beginBackgroundTask("third", expire));
}

} // namespace
} // namespace AmbrelKit
