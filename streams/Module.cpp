#include "Module.h"

#include "Demuxer.h"

#include <atomic>
#include <string>
#include <string_view>
#include <utility>

#include <dlfcn.h>

// Its names come from the build: the file, its folder beside the library, and the folder that it is installed in.
#define QLX_STREAMS_TEXT(name) #name
#define QLX_STREAMS_TEXT_OF(name) QLX_STREAMS_TEXT(name)

namespace qlx::streams::detail {

namespace {

constexpr std::string_view kFile = QLX_STREAMS_MODULE_FILE;
constexpr std::string_view kFolder = QLX_STREAMS_MODULE_FOLDER;
constexpr std::string_view kInstalledFolder = QLX_STREAMS_MODULE_INSTALLED;

const char kHere = 0;

/// The folder of the file that this function is part of, with a slash behind it; nothing where nobody can tell.
std::string ownFolder() {
    ::Dl_info info{};
    if (::dladdr(&kHere, &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    const std::string_view file = info.dli_fname;
    const std::size_t slash = file.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(file.substr(0, slash + 1));
}

/// Its handle; null where it is not found, or what it stands on is missing.
void* openModule(std::string& obstacle) {
    const std::string own = ownFolder();
    for (const std::string& folder :
         {own + std::string(kFolder) + "/", std::string(kInstalledFolder) + "/", std::string()}) {
        const std::string file = folder + std::string(kFile);
        if (own.empty() && folder.starts_with(kFolder)) {
            continue;
        }
        if (void* const handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
            return handle;
        }
        const char* const reason = ::dlerror();
        obstacle = reason == nullptr ? file + " cannot be loaded" : reason;
        // One that is there and cannot be loaded is the one that is meant.
        if (!obstacle.starts_with(file + ": cannot open shared object file")) {
            break;
        }
    }
    return nullptr;
}

/// What the module's entry function gives.
DemuxerModule* enter(void* handle, std::string& obstacle) {
    void* const entry = ::dlsym(handle, QLX_STREAMS_TEXT_OF(QLX_STREAMS_MODULE_ENTRY));
    if (entry == nullptr) {
        const char* const reason = ::dlerror();
        obstacle = reason == nullptr ? std::string(kFile) + " cannot be used" : reason;
        return nullptr;
    }
    return static_cast<DemuxerModule*>(reinterpret_cast<void* (*)()>(entry)());
}

}  // namespace

DemuxerModule* loadDemuxers(std::string* obstacle) {
    static std::atomic<DemuxerModule*> loaded = nullptr;
    DemuxerModule* module = loaded;
    if (module != nullptr) {
        return module;
    }
    std::string reason;
    void* const handle = openModule(reason);
    module = handle == nullptr ? nullptr : enter(handle, reason);
    if (module == nullptr) {
        if (obstacle != nullptr) {
            *obstacle = std::move(reason);
        }
        return nullptr;
    }
    loaded = module;
    return module;
}

}  // namespace qlx::streams::detail
