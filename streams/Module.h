// The part of this library that is loaded when it is needed first: it stands on libraries so large that starting every
// program with them would take longer than most of what programs do. Without it, or them, the rest works.
#pragma once

#include <string>

namespace qlx::streams::detail {

class DemuxerModule;

/// The module that takes containers apart. It is looked for in the folder of this library's modules beside what this
/// library is part of (the shared library, or the program that it is linked into), then along the run-time path of that,
/// then where it was to be installed. Once loaded it stays until the end of the process.
/// @param obstacle Gets why it cannot be loaded; may be null.
/// @return Null when it cannot be loaded; tried again each time.
[[nodiscard]] DemuxerModule* loadDemuxers(std::string* obstacle);

}  // namespace qlx::streams::detail

/// Defines the entry function of a module, which gives `object`, an object of the interface's type. Its name carries the
/// version: a module of another one is not taken.
#define QLX_STREAMS_DEFINE_MODULE(object)                                                                              \
    extern "C" __attribute__((visibility("default"))) void* QLX_STREAMS_MODULE_ENTRY();                                \
    extern "C" void* QLX_STREAMS_MODULE_ENTRY() {                                                                      \
        return &(object);                                                                                              \
    }
