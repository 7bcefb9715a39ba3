// What is said of damage in a container.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qlx::tool {

/// Passes on what is wrong, but not the same again and again, and not for every packet of a file that is nothing but
/// damage.
class ContainerRemarks {
public:
    /// As many remarks are passed on.
    static constexpr std::size_t kMost = 20;

    void add(std::string text, std::vector<std::string>& problems);

    /// Passes on what a demuxer has to say, in its own words behind what that means.
    /// @param place Where it says so: `near byte 5120`.
    void addForeign(const std::string& place, const std::vector<std::string>& texts,
                    std::vector<std::string>& problems);

    /// @param end The byte behind what is there of the sample.
    void addDamagedSample(std::uint64_t end, std::vector<std::string>& problems);

    /// @param begin The first byte of a sample whose NAL units are not where their lengths say.
    void addDamagedUnits(std::uint64_t begin, std::vector<std::string>& problems);

    /// For a long stretch without a packet that is read: a demuxer says nothing of what it passes over while it looks for
    /// the next one.
    void addGap(std::uint64_t begin, std::uint64_t end, std::vector<std::string>& problems);

private:
    std::string _last;
    std::size_t _count = 0;
};

}  // namespace qlx::tool
