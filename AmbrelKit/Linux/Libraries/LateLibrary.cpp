#include "AmbrelKit/Linux/Libraries/LateLibrary.hpp"

#include <cerrno>
#include <dlfcn.h>
#include <system_error>

namespace AmbrelKit::Linux {

bool LateLibrary::isThere() const { return dlopen(name_, RTLD_NOW) != nullptr; }

void* LateLibrary::symbol(const char* name) const {
    void* const library = dlopen(name_, RTLD_NOW);
    void* const address = library != nullptr ? dlsym(library, name) : nullptr;
    if (address == nullptr) {
        const char* const problem = dlerror();
        throw std::system_error(ELIBACC, std::generic_category(),
                                problem != nullptr ? problem : name_);
    }
    return address;
}

} // namespace AmbrelKit::Linux
