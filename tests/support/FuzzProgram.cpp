// Several fuzz targets in one program, so that what they all stand on is linked once. It runs the one that it is called
// by, fuzz_NAME: each has a link of that name to it.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

extern "C" {

std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// QLX_FUZZ_TARGETS is a file with QLX_FUZZ_TARGET(NAME) for each of them. Few have a mutator of their own.
#define QLX_FUZZ_TARGET(name)                                                                                          \
    int run_##name(const std::uint8_t*, std::size_t);                                                                  \
    [[gnu::weak]] std::size_t mutate_##name(std::uint8_t*, std::size_t, std::size_t, unsigned int);
#include QLX_FUZZ_TARGETS
#undef QLX_FUZZ_TARGET

}  // extern "C"

namespace {

struct Target {
    std::string_view name;
    int (*run)(const std::uint8_t*, std::size_t);
    std::size_t (*mutate)(std::uint8_t*, std::size_t, std::size_t, unsigned int);
};

constexpr Target kTargets[] = {
#define QLX_FUZZ_TARGET(name) {"fuzz_" #name, run_##name, mutate_##name},
#include QLX_FUZZ_TARGETS
#undef QLX_FUZZ_TARGET
};

const Target* chosen = nullptr;

}  // namespace

// Called by libFuzzer before all else.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    const std::string_view path = **arguments;
    const std::string_view name = path.substr(path.rfind('/') + 1);
    for (const Target& target : kTargets) {
        if (target.name == name) {
            chosen = &target;
        }
    }
    if (chosen == nullptr) {
        std::fprintf(stderr, "%s: it must be called by the name of one of its targets:\n", **arguments);
        for (const Target& target : kTargets) {
            std::fprintf(stderr, "%.*s\n", static_cast<int>(target.name.size()), target.name.data());
        }
        std::exit(1);
    }
    // The engine lets inputs grow slowly, but not with a mutator, which it sees here for all of them. What the caller says
    // stands behind it, and counts.
    static std::string slowly = "-len_control=100";
    static std::vector<char*> extended(*arguments, *arguments + *count);
    if (chosen->mutate == nullptr) {
        extended.insert(extended.begin() + 1, slowly.data());
        *count += 1;
        extended.push_back(nullptr);
        *arguments = extended.data();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return chosen->run(data, size);
}

// What a target without one of its own would have: libFuzzer's.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
    return chosen->mutate != nullptr ? chosen->mutate(data, size, maxSize, seed)
                                     : LLVMFuzzerMutate(data, size, maxSize);
}
