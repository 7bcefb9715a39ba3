// Parts of the tool that are loaded when they are needed first: each stands on a library so large that starting every
// command with it would take longer than most commands do. Without the library, or the module, the rest works.
#pragma once

namespace qlx::tool {

/// Loads a module, and keeps it until the end of the process.
/// @param name Its file without the extension, such as `qlxcc-png`.
/// @return What its entry function gives.
/// @throws Failure that says why it cannot be loaded.
[[nodiscard]] void* loadModule(const char* name);

/// The interface that a module implements, whose `kModule` names it.
/// @throws Failure as loadModule() does, each time.
template <class Interface>
[[nodiscard]] Interface& module() {
    static auto& loaded = *static_cast<Interface*>(loadModule(Interface::kModule));
    return loaded;
}

}  // namespace qlx::tool

/// Defines the entry function of a module, which gives `object`, an object of the interface's type. Its name carries the
/// tool's version: a module of another one is not taken for this tool's.
#define QLXCC_DEFINE_MODULE(object)                                                                                    \
    extern "C" __attribute__((visibility("default"))) void* QLXCC_MODULE_ENTRY();                                      \
    extern "C" void* QLXCC_MODULE_ENTRY() {                                                                            \
        return &(object);                                                                                              \
    }
