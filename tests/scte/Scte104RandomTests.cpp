// Random messages of ANSI/SCTE 104: what is written is read back as the same value, and as the same bytes.
//
// --gtest_random_seed=N runs others.
#include "RandomFields.h"
#include "Scte104Bytes.h"

#include "scte/Scte104Layout.h"

namespace {

using namespace qlxtest;
using namespace qlx::scte;

/// A random timestamp of types 0 to 3.
void fillTimeStamp(TimeStamp& timeStamp, RandomFields& random) {
    if (random.below(3) == 0) {
        timeStamp = UnknownTimeType{static_cast<std::uint8_t>(4 + random.below(251))};
    } else {
        std::variant<UtcTimeStamp, VitcTimeStamp, GpiTimeStamp> any;
        fillAny<0>(any, random);
        std::visit([&timeStamp](const auto& value) { timeStamp = value; }, any);
    }
}

TEST(Scte104Random, MultipleMessagesComeBack) {
    for (unsigned seed = firstSeed(); seed < firstSeed() + kRandomRounds; ++seed) {
        RandomFields random(seed);
        MultipleOperationMessage message;
        random.number(message.protocolVersion);
        random.number(message.asIndex);
        random.number(message.messageNumber);
        random.number(message.dpiPidIndex);
        random.number(message.scte35ProtocolVersion);
        fillTimeStamp(message.timeStamp, random);
        message.operations.resize(random.below(4));
        for (Operation& operation : message.operations) {
            fillAny<0>(operation.data, random);
            if (auto* const verbatim = std::get_if<VerbatimOperation>(&operation.data)) {
                verbatim->opId = static_cast<std::uint16_t>(0x8000U + random.below(0x7FFE));
            }
        }
        const Bytes bytes = written(message);
        const auto back = parseMultipleOperationMessage(bytes);
        ASSERT_TRUE(back) << seed;
        ASSERT_EQ(*back, message) << seed;
        ASSERT_EQ(written(*back), bytes) << seed;
    }
}

TEST(Scte104Random, SingleMessagesComeBack) {
    for (unsigned seed = firstSeed(); seed < firstSeed() + kRandomRounds; ++seed) {
        RandomFields random(seed);
        SingleOperationMessage message;
        random.number(message.result);
        random.number(message.resultExtension);
        random.number(message.asIndex);
        random.number(message.messageNumber);
        random.number(message.dpiPidIndex);
        fillAny<0>(message.operation, random);
        if (auto* const verbatim = std::get_if<VerbatimOperation>(&message.operation)) {
            verbatim->opId = static_cast<std::uint16_t>(0x0013U + random.below(0x1000));
        }
        const Bytes bytes = written(message);
        const auto back = parseSingleOperationMessage(bytes);
        ASSERT_TRUE(back) << seed;
        ASSERT_EQ(*back, message) << seed;
        ASSERT_EQ(written(*back), bytes) << seed;
    }
}

TEST(Scte104Random, BytesOfAMessageThatIsDamagedAreKept) {
    for (unsigned seed = firstSeed(); seed < firstSeed() + kRandomRounds; ++seed) {
        RandomFields random(seed);
        MultipleOperationMessage message;
        message.operations.resize(1 + random.below(2));
        for (Operation& operation : message.operations) {
            fillAny<1>(operation.data, random);
        }
        Bytes bytes = written(message);
        // Any byte but the mark; and a part of the message.
        for (std::uint64_t changes = random.below(3); changes > 0; --changes) {
            random.number(bytes[2 + random.below(bytes.size() - 3)]);
        }
        bytes.resize(bytes.size() - (random.below(3) == 0 ? random.below(bytes.size() - 12) : 0));
        const auto back = parseMultipleOperationMessage(bytes);
        if (back) {
            ASSERT_EQ(written(*back), bytes) << seed;
        } else {
            ASSERT_EQ(back.error().code, qlx::FindingCode::ScteMessageCut) << seed;
        }
    }
}

}  // namespace
