#ifndef AMBRELKIT_LINUX_LIBRARIES_LATELIBRARY_HPP
#define AMBRELKIT_LINUX_LIBRARIES_LATELIBRARY_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <atomic>

namespace AmbrelKit::Linux {

/// A shared library that is loaded when it is first needed, and stays: a program does not pay for
/// the libraries of sources that it does not use. On any thread.
class LateLibrary {
public:
    constexpr explicit LateLibrary(const char* name) : name_(name) {}

    /// Whether it can be loaded.
    [[nodiscard]] AMBRELKIT_SEAM bool isThere() const;

    /// The address of one of its functions or variables. Throws std::system_error when the library
    /// can't be loaded, or has none of that name.
    [[nodiscard]] AMBRELKIT_SEAM void* symbol(const char* name) const;

private:
    const char* name_; ///< as the loader knows it
};

/// A function of such a library: called as the function itself.
template <const LateLibrary& library, class Function> class LateFunction {
public:
    constexpr explicit LateFunction(const char* name) : name_(name) {}

    // NOLINTNEXTLINE(google-explicit-constructor): this is what makes it callable
    operator Function*() const {
        Function* function = found_.load(std::memory_order_relaxed);
        if (function == nullptr) {
            function = reinterpret_cast<Function*>(library.symbol(name_));
            found_.store(function, std::memory_order_relaxed);
        }
        return function;
    }

private:
    const char* name_;
    mutable std::atomic<Function*> found_ = nullptr;
};

} // namespace AmbrelKit::Linux

/// In a namespace of ours, declares a function of a library's header that is called by this name
/// there from here on, instead of being linked. For sources, not for headers: who uses both
/// namespaces would see two of that name.
#define AMBRELKIT_LATE(library, name)                                                              \
    inline constinit const AmbrelKit::Linux::LateFunction<library, decltype(::name)> name { #name }

#endif
