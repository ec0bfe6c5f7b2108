#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_LOSTANSWERS_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_LOSTANSWERS_HPP

#include "AmbrelKit/Platform/WeakList.hpp"

#include <chrono>
#include <memory>

namespace AmbrelKit::Linux {

/// Has all questions asked anew while something comes that should have come before. Then answers
/// get lost, and the stack, which doubles its pauses, asks but four times in a collection: too
/// rarely for the last of many to be heard.
class LostAnswers {
public:
    class Question {
    public:
        Question() = default;
        Question(const Question&) = delete;
        Question& operator=(const Question&) = delete;
        virtual ~Question() = default;
        /// Begins again soon, with short pauses. Calls nobody back.
        virtual void askAnew() = 0;
    };

    void add(const std::weak_ptr<Question>& question) { questions_.add(question); }

    /// An answer came that was not among the first to its question.
    void oneCameLate() {
        const auto now = std::chrono::steady_clock::now();
        last_ = now;
        if (now - told_ > std::chrono::seconds(1)) {
            told_ = now;
            questions_.each([](Question& question) { question.askAnew(); });
        }
    }

    /// Whether one came in the last seconds.
    [[nodiscard]] bool lately() const {
        return std::chrono::steady_clock::now() - last_ < std::chrono::seconds(5);
    }

private:
    WeakList<Question> questions_;
    std::chrono::steady_clock::time_point told_;
    std::chrono::steady_clock::time_point last_;
};

} // namespace AmbrelKit::Linux

#endif
