// What the threads of this process are at.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

namespace qlxtest {

/// The system's number of the calling thread.
inline long threadNumber() {
    return syscall(SYS_gettid);
}

/// Whether a thread of this process waits for something, such as a lock.
inline bool isAsleep(long thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    // The state stands behind the name, which is in brackets.
    const std::size_t name = text.rfind(')');
    return name != std::string::npos && name + 2 < text.size() && text[name + 2] == 'S';
}

/// Whether all other threads of this process wait for something.
inline bool areOthersAsleep() {
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::all_of(begin(threads), end(threads), [](const std::filesystem::directory_entry& entry) {
        const long thread = std::stol(entry.path().filename().string());
        return thread == threadNumber() || isAsleep(thread);
    });
}

/// fork() once all other threads of this process wait for something. The address sanitizer's allocator has locks, which
/// stay taken in a child where another thread held one.
inline pid_t forkAtRest() {
    while (!areOthersAsleep()) {
        std::this_thread::yield();
    }
    return fork();
}

}  // namespace qlxtest
