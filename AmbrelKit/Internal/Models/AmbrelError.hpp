#ifndef AMBRELKIT_AMBRELERROR_HPP
#define AMBRELKIT_AMBRELERROR_HPP

#include <exception>
#include <string>

namespace AmbrelKit {

/// The one error that the kit reports to its host. A plain value; thrown by value.
class AmbrelError final : public std::exception {
public:
    enum class Case {
        /// The reuse threshold was not from 0 to 30.
        invalidThresholdValue,
    };

    static const AmbrelError invalidThresholdValue;

    explicit AmbrelError(Case error) noexcept : case_(error) {}

    [[nodiscard]] Case error() const noexcept { return case_; }

    /// The description, in English, for people. Valid as long as the program runs.
    [[nodiscard]] const char* what() const noexcept override;

    friend bool operator==(const AmbrelError& a, const AmbrelError& b) noexcept {
        return a.case_ == b.case_;
    }

private:
    Case case_;
};

/// An error as a value, for hosts that do without exceptions.
struct ErrorObject {
    std::string domain; ///< "AmbrelKit.AmbrelError"
    int code = 0;       ///< the case's position
    std::string description;
};

} // namespace AmbrelKit

#endif
