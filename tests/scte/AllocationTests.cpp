// How often memory is asked for: a message of one splice request once, and what is written into a room never.
#include "Allocations.h"
#include "Scte104Bytes.h"

#include <qlx/scte/scte35.h>

#include <array>

namespace {

using namespace qlxtest;
using namespace qlx::scte;

TEST(ScteAllocations, AreFew) {
#ifdef QLX_SANITIZED
    GTEST_SKIP() << "the sanitizers count none";
#endif
    EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(1)); }), 1U);
    const Bytes bytes = multipleMessage(0x0101, "01 01020304 0506 0fa0 012c 01 02 01");
    bool isRead = false;
    EXPECT_LE(allocationsOf([&] {
                  const auto message = parseMultipleOperationMessage(bytes);
                  isRead = message && message->operations.size() == 1;
              }),
              1U);
    EXPECT_TRUE(isRead);
    const auto message = parseMultipleOperationMessage(bytes);
    ASSERT_TRUE(message);
    std::array<std::uint8_t, 64> room{};
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(*writeMessage(*message, room), bytes.size()); }), 0U);

    SpliceInfoSection section;
    SpliceInsert insert;
    insert.time.ticks90k = 1;
    section.command = insert;
    SegmentationDescriptor descriptor;
    descriptor.upid = {UpidType::Ti, Bytes(8)};
    section.descriptors = {{descriptor, {}}};
    std::size_t size = 0;
    EXPECT_EQ(allocationsOf([&] { size = *writeSpliceInfoSection(section, room); }), 0U);
    EXPECT_GT(size, 0U);
    section.descriptors.clear();
    size = *writeSpliceInfoSection(section, room);
    isRead = false;
    EXPECT_EQ(allocationsOf([&] { isRead = parseSpliceInfoSection(std::span(room).first(size)).hasValue(); }), 0U);
    EXPECT_TRUE(isRead);
}

}  // namespace
