#ifndef AMBRELKIT_AMBRELERROR_HPP
#define AMBRELKIT_AMBRELERROR_HPP

#include <AmbrelKit/Platform/Export.hpp>

#include <cstddef>
#include <exception>
#include <functional>
#include <string>

namespace AmbrelKit {

/// The one error that the kit reports to its host. A plain value; thrown by value.
class AMBRELKIT_API AmbrelError final : public std::exception {
public:
    /// What went wrong.
    enum class Case {
        /// The reuse threshold was not from 0 to 30.
        invalidThresholdValue,
    };

    using enum Case;

    /// The error of that case.
    // NOLINTNEXTLINE(google-explicit-constructor): a case is an error
    AmbrelError(Case error) noexcept : case_(error) {}

    /// Which case it is.
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
struct AmbrelErrorObject {
    std::string domain; ///< "AmbrelKit.AmbrelError"
    int code = 0;       ///< the case's position
    /// The same for people, in English; it may change.
    std::string description;
};

} // namespace AmbrelKit

/// Equal errors have equal hashes.
template <> struct std::hash<AmbrelKit::AmbrelError> {
    /// Of the case alone.
    std::size_t operator()(const AmbrelKit::AmbrelError& error) const noexcept {
        return std::hash<AmbrelKit::AmbrelError::Case>{}(error.error());
    }
};

#endif
