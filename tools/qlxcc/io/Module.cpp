#include "io/Module.h"

#include "io/Errors.h"

#include <string>

#include <dlfcn.h>

#define QLXCC_TEXT(name) #name
#define QLXCC_TEXT_OF(name) QLXCC_TEXT(name)

namespace qlx::tool {

void* loadModule(const char* name) {
    // A name without a folder is looked for where the program says that its modules are.
    const std::string file = std::string(name) + ".so";
    void* const handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const entry = handle == nullptr ? nullptr : ::dlsym(handle, QLXCC_TEXT_OF(QLXCC_MODULE_ENTRY));
    if (entry == nullptr) {
        const char* const reason = ::dlerror();
        throw Failure(reason == nullptr ? file + " cannot be loaded" : reason);
    }
    return reinterpret_cast<void* (*)()>(entry)();
}

}  // namespace qlx::tool
