#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_SHARED_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_SHARED_HPP

#include <memory>
#include <utility>

namespace AmbrelKit {

/// A value that does not change, so that its copies are one.
template <class Value> class Shared {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): it stands where the value would
    Shared(Value value) : value_(std::make_shared<const Value>(std::move(value))) {}

    [[nodiscard]] const Value& operator*() const { return *value_; }

    friend bool operator==(const Shared& a, const Shared& b) {
        return a.value_ == b.value_ || *a.value_ == *b.value_;
    }

private:
    std::shared_ptr<const Value> value_;
};

} // namespace AmbrelKit

#endif
