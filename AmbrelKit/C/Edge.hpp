#ifndef AMBRELKIT_C_EDGE_HPP
#define AMBRELKIT_C_EDGE_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <ambrelkit.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

/// What every function of the C interface stands on: no exception crosses its edge, and no type of
/// ours.
namespace AmbrelKit::C {

/// What a function of the C interface is to return and tell.
class AMBRELKIT_SEAM Failure : public std::runtime_error {
public:
    Failure(int result, const char* domain, int code, const std::string& description)
        : std::runtime_error(description), result_(result), domain_(domain), code_(code) {}

    [[nodiscard]] int result() const { return result_; }
    [[nodiscard]] const char* domain() const { return domain_; }
    [[nodiscard]] int code() const { return code_; }

private:
    int result_;
    const char* domain_;
    int code_;
};

/// Tells `error`, unless it is null, of the exception that is handled, and returns the negative
/// errno for it.
AMBRELKIT_SEAM int failed(ambrel_error* error) noexcept;

/// What `body` returns, or 0; a negative errno when it throws.
template <class Body> int edge(ambrel_error* error, Body body) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return 0;
        } else {
            return body();
        }
    } catch (...) {
        return failed(error);
    }
}

/// What a callback of the host returned, unless it failed.
inline int checked(int result) {
    if (result < 0) {
        throw Failure(result, AMBREL_ERROR_DOMAIN_CALLBACK, result,
                      "a callback of the host failed");
    }
    return result;
}

inline void require(bool condition, const char* otherwise) {
    if (!condition) {
        throw std::invalid_argument(otherwise);
    }
}

template <class Pointee> Pointee& required(Pointee* pointer) {
    require(pointer != nullptr, "a pointer is NULL that must not be");
    return *pointer;
}

/// The struct of a host that may have been compiled with an earlier header or a later one.
template <class Struct> Struct known(const Struct& given) {
    require(given.size >= sizeof given.size, "a struct does not have its size");
    if (given.size > sizeof given) {
        constexpr std::size_t greatest = 4096; // beyond it nobody has set the size
        const auto* const bytes = reinterpret_cast<const char*>(&given);
        if (given.size > greatest || std::any_of(bytes + sizeof given, bytes + given.size,
                                                 [](char byte) { return byte != 0; })) {
            throw std::system_error(E2BIG, std::generic_category(),
                                    "a struct is of a later version");
        }
    }
    Struct result{};
    std::memcpy(&result, &given, std::min(given.size, sizeof given));
    return result;
}

/// Hands out a copy of the text, which ends with a zero byte.
void give(std::string_view text, char** to);

/// The JSON object that the host gives.
JSONDictionary dictionary(const char* json, std::size_t length);

/// The texts of a list that ends with NULL.
AMBRELKIT_SEAM std::vector<std::string> listOf(const char* const* texts);

/// A host's struct of callbacks. Once it is taken over, it is destroyed when nothing of it is
/// called any more.
template <class Struct> class Callbacks {
public:
    explicit Callbacks(const Struct& given) : callbacks_(known(given)) {}
    Callbacks(const Callbacks&) = delete;
    Callbacks& operator=(const Callbacks&) = delete;
    ~Callbacks() {
        if (taken_ && callbacks_.destroy != nullptr) {
            callbacks_.destroy(callbacks_.context);
        }
    }

    /// To be called when the function that was given the struct can't fail any more.
    void takeOver() { taken_ = true; }

    const Struct* operator->() const { return &callbacks_; }

private:
    Struct callbacks_;
    bool taken_ = false;
};

/// An object that the host counts the references of.
struct Counted {
    unsigned references = 1;
};

template <class Object> Object* reference(Object* object) noexcept {
    if (object != nullptr) {
        ++object->references;
    }
    return object;
}

template <class Object> Object* unreference(Object* object) noexcept {
    if (object != nullptr && --object->references == 0) {
        delete object;
    }
    return nullptr;
}

} // namespace AmbrelKit::C

#endif
