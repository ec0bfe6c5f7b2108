#include "AmbrelKit/C/Edge.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <AmbrelKit/AmbrelError.hpp>

#include <cstdlib>

namespace AmbrelKit::C {

namespace {

constexpr char outOfMemory[] = "out of memory"; // never freed

/// It may hold what the host gave, or a system text in the encoding of the host's locale.
const char* copyOf(const char* description) noexcept {
    try {
        const char* const copy = strdup(printable(description).c_str());
        return copy != nullptr ? copy : outOfMemory;
    } catch (const std::bad_alloc&) {
        return outOfMemory;
    }
}

int tell(ambrel_error* error, int result, const char* domain, int code,
         const char* description) noexcept {
    if (error != nullptr) {
        ambrel_error_free(error);
        *error = {domain, code, copyOf(description)};
    }
    return result;
}

int tell(ambrel_error* error, int number, const char* description) noexcept {
    return tell(error, -number, AMBREL_ERROR_DOMAIN_ERRNO, number, description);
}

/// Where a category has numbers of its own, nothing is known of it.
int errnoOf(const std::error_code& code) noexcept {
    const bool isErrno =
        code.category() == std::generic_category() || code.category() == std::system_category();
    return isErrno && code.value() > 0 ? code.value() : EIO;
}

} // namespace

int failed(ambrel_error* error) noexcept {
    try {
        throw;
    } catch (const Failure& failure) {
        return tell(error, failure.result(), failure.domain(), failure.code(), failure.what());
    } catch (const AmbrelError& failure) {
        return tell(error, -ERANGE, AMBREL_ERROR_DOMAIN_KIT, static_cast<int>(failure.error()),
                    failure.what());
    } catch (const JSONTextError& failure) {
        return tell(error, -EBADMSG, AMBREL_ERROR_DOMAIN_JSON, static_cast<int>(failure.byte()),
                    failure.what());
    } catch (const std::system_error& failure) {
        return tell(error, errnoOf(failure.code()), failure.what());
    } catch (const std::bad_alloc&) {
        return tell(error, ENOMEM, outOfMemory);
    } catch (const std::length_error&) {
        return tell(error, ENOMEM, outOfMemory);
    } catch (const std::invalid_argument& failure) {
        return tell(error, EINVAL, failure.what());
    } catch (const std::logic_error& failure) { // what is not to be called from where it was called
        return tell(error, EBUSY, failure.what());
    } catch (const std::exception& failure) {
        return tell(error, EIO, failure.what());
    } catch (...) {
        return tell(error, EIO, "unknown");
    }
}

void give(std::string_view text, char** to) {
    auto& result = required(to);
    auto* const copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    std::copy(text.begin(), text.end(), copy);
    copy[text.size()] = '\0';
    result = copy;
}

JSONDictionary dictionary(const char* json, std::size_t length) {
    JSONValue value = readJSON({&required(json), length});
    if (!value.is_object()) {
        throw JSONTextError("no JSON object (byte 1)", 1);
    }
    return std::move(value.get_ref<JSONDictionary&>());
}

std::vector<std::string> listOf(const char* const* texts) {
    std::vector<std::string> list;
    for (; *texts != nullptr; ++texts) {
        list.push_back(repairedUTF8(*texts));
    }
    return list;
}

} // namespace AmbrelKit::C

extern "C" {

void ambrel_error_free(ambrel_error* error) {
    if (error == nullptr) {
        return;
    }
    if (error->description != AmbrelKit::C::outOfMemory) {
        std::free(const_cast<char*>(error->description));
    }
    *error = AMBREL_ERROR_INIT;
}

void ambrel_free(void* text) { std::free(text); }
}
