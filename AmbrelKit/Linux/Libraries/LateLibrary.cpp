#include "AmbrelKit/Linux/Libraries/LateLibrary.hpp"

#include "AmbrelKit/Platform/Descriptor.hpp"

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

/// Why nothing is loaded: the loader tells it in words alone.
int whyNotLoaded() {
    const Descriptor another(open("/", O_PATH | O_CLOEXEC));
    return another.get() < 0 ? errno : ELIBACC;
}

} // namespace

bool LateLibrary::isThere() const { return dlopen(name_, RTLD_NOW) != nullptr; }

void* LateLibrary::symbol(const char* name) const {
    void* const library = dlopen(name_, RTLD_NOW);
    void* const address = library != nullptr ? dlsym(library, name) : nullptr;
    if (address == nullptr) {
        const char* const problem = dlerror();
        throw std::system_error(whyNotLoaded(), std::generic_category(),
                                problem != nullptr ? problem : name_);
    }
    return address;
}

} // namespace AmbrelKit::Linux
