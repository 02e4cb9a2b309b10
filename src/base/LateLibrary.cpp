#include "base/LateLibrary.h"

#include <dlfcn.h>
#include <string>

namespace fenlo {

void* findLateFunction(const char* library, const char* name) {
    if (void* const preloaded = ::dlsym(RTLD_DEFAULT, name))
        return preloaded;
    void* const opened = ::dlopen(library, RTLD_NOW | RTLD_LOCAL);
    void* const found = opened ? ::dlsym(opened, name) : nullptr;
    if (!found) {
        const char* const fault = ::dlerror();
        throw LateLibraryError("the library " + std::string(library) +
                               " cannot be used: " + (fault ? fault : "a function is missing") + "; install it again");
    }
    return found;
}

} // namespace fenlo
