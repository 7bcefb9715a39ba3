// SCTE-104 messages, and runs of the tool that makes them.
#pragma once

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qlxtest {

using Arguments = std::vector<std::string>;

// Descriptor, reserved, messageSize, versions and numbers, num_ops; then the operations.
inline const std::string kSplice = "08ffff001e000001123400000101"
                                   "01000e01010203040506"
                                   "0fa0012c000001";
inline const std::string kSpliceNull = "08ffff0010000001000000000101020000";
inline const std::string kSegmentation = "010b00150000000100000003034142433001020000000000"
                                         "03";

inline Arguments build(const Arguments& more) {
    Arguments arguments{"scte104", "build"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// What a successful run prints; a run that fails, or says something on standard error, gives a failed expectation.
inline std::string outputOf(const Arguments& arguments, const std::string& input = {}) {
    const ToolResult result = runTool(arguments, {.input = input});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
}

inline const Arguments kSpliceArguments{"splice-start", "--event-id",    "16909060",  "--program-id",
                                        "0x0506",       "--pre-roll",    "4000",      "--duration",
                                        "30",           "--auto-return", "--dpi-pid", "0x1234"};

inline const Arguments kSegmentationArguments{"segmentation",
                                              "--event-id",
                                              "1",
                                              "--segmentation-type",
                                              "ProviderAdvertisementStart",
                                              "--upid-type",
                                              "Ad-ID",
                                              "--upid",
                                              "ABC",
                                              "--segment",
                                              "1",
                                              "--segments",
                                              "2"};

}  // namespace qlxtest
