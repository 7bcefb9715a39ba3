#include <qlx/cc/cdp.h>

#include "CdpBytes.h"
#include "Sanitized.h"

#include <qlx/cc/slots.h>

#include <random>

namespace {

using namespace qlxtest;

using qlx::Finding;
using qlx::FindingCode;
using qlx::FrameRate;
using qlx::Severity;
using qlx::cc::CaptionService;
using qlx::cc::CcType;
using qlx::cc::Cdp;
using qlx::cc::CdpTimeCode;
using qlx::cc::Triplet;

static_assert(std::is_trivially_copyable_v<Cdp>);

/// Every section, at 29.97 frames a second, 99 (63h) bytes; worked out by hand, and the checksum with a calculator.
const std::string kAllSections =
    "9669 63 4f f7 1234"                 // length, 29.97, all flags but svc_info_change, counter
    "71 d0 d9 30 a4"                     // 10:59:30;24
    "72 f4 fc942c fd8080 ff0221 fe4142"  // 20 triplets
    "fa0000 fa0000 fa0000 fa0000 fa0000 fa0000 fa0000 fa0000"
    "fa0000 fa0000 fa0000 fa0000 fa0000 fa0000 fa0000 fa0000"
    "73 d2 e0 202020 7e 3fff e1 656e67 c1 3fff"  // line 21 field 1, digital service 1 in English
    "75 03 0a0b0c"                               // a future section
    "74 1234 CHECKSUM";

Bytes allSections() {
    std::string text = kAllSections;
    text.replace(text.find("CHECKSUM"), 8, "00");
    Bytes bytes = fromHex(text);
    setChecksum(bytes);
    return bytes;
}

std::vector<Triplet> twentyTriplets() {
    std::vector<Triplet> triplets(20);
    triplets[0] = Triplet::make(CcType::Field1, 0x94, 0x2C);
    triplets[1] = Triplet::make(CcType::Field2, 0x80, 0x80);
    triplets[2] = Triplet::make(CcType::DtvccStart, 0x02, 0x21);
    triplets[3] = Triplet::make(CcType::DtvccData, 0x41, 0x42);
    return triplets;
}

Cdp allSectionsValue() {
    Cdp cdp;
    cdp.setFrameRate(FrameRate::Fps2997);
    cdp.setSequenceCounter(0x1234);
    cdp.setTimeCode(CdpTimeCode::make({.hours = 10, .minutes = 59, .seconds = 30, .frames = 24, .dropFrame = true}));
    EXPECT_EQ(*cdp.setTriplets(twentyTriplets()), 20U);
    const CaptionService services[] = {CaptionService::line21(false), CaptionService::digital(1, {'e', 'n', 'g'})};
    EXPECT_EQ(*cdp.setServices(services), 2U);
    EXPECT_EQ(*cdp.addFutureSection(0x75, Bytes{0x0A, 0x0B, 0x0C}), 5U);
    return cdp;
}

TEST(Cdp, WithEverySectionIsRead) {
    const Read result = read(allSections());
    ASSERT_TRUE(result.cdp);
    EXPECT_EQ(result.findings, FindingList{});
    const Cdp& cdp = *result.cdp;
    EXPECT_EQ(cdp.frameRate(), FrameRate::Fps2997);
    EXPECT_EQ(cdp.sequenceCounter(), 0x1234);
    EXPECT_TRUE(cdp.captionServiceActive());
    ASSERT_TRUE(cdp.timeCode());
    EXPECT_EQ(cdp.timeCode()->fields(), (qlx::cc::TimeCodeFields{10, 59, 30, 24, false, true}));
    EXPECT_TRUE(cdp.hasCcData());
    const std::vector<Triplet> expected = twentyTriplets();
    EXPECT_EQ(std::vector<Triplet>(cdp.triplets().begin(), cdp.triplets().end()), expected);
    ASSERT_EQ(cdp.services().size(), 2U);
    EXPECT_EQ(cdp.serviceInformationFlags(), (qlx::cc::ServiceInformationFlags{true, false, true}));
    const CaptionService line21 = cdp.services()[0];
    EXPECT_FALSE(line21.isDigital());
    EXPECT_FALSE(line21.isOnField2());
    EXPECT_EQ(line21.number(), 0);
    EXPECT_EQ(line21.descriptorNumber(), 0);
    EXPECT_EQ(line21.language(), (CaptionService::Language{' ', ' ', ' '}));
    const CaptionService digital = cdp.services()[1];
    EXPECT_TRUE(digital.isDigital());
    EXPECT_TRUE(digital.hasShortNumber());
    EXPECT_EQ(digital.number(), 1);
    EXPECT_EQ(digital.descriptorNumber(), 1);
    EXPECT_EQ(digital.language(), (CaptionService::Language{'e', 'n', 'g'}));
    EXPECT_FALSE(digital.easyReader());
    EXPECT_FALSE(digital.wideAspectRatio());
    std::size_t sections = 0;
    for (const qlx::cc::FutureSectionView section : cdp.futureSections()) {
        EXPECT_EQ(section.id, 0x75);
        EXPECT_EQ(toHex(section.data), "0a0b0c");
        ++sections;
    }
    EXPECT_EQ(sections, 1U);
}

TEST(Cdp, WithEverySectionIsWritten) {
    const Cdp cdp = allSectionsValue();
    EXPECT_EQ(toHex(written(cdp)), toHex(allSections()));
    EXPECT_EQ(cdp, *read(allSections()).cdp);
    const auto data = writeCdp(cdp);
    ASSERT_TRUE(data);
    EXPECT_EQ(*data, qlx::Data(allSections()));
}

TEST(Cdp, OfNothingIsHeaderAndFooter) {
    // 96 + 69 + 0b + 4f + 03 + 74 = 1d0
    EXPECT_EQ(toHex(written(Cdp())), "96690b4f03000074000030");
}

TEST(Cdp, SectionsWithoutContentAreKept) {
    Cdp cdp;
    EXPECT_EQ(*cdp.setTriplets({}), 0U);
    EXPECT_EQ(*cdp.setServices({}, {.start = false, .change = true, .complete = false}), 0U);
    EXPECT_EQ(*cdp.addFutureSection(0xEF, {}), 2U);
    const Bytes bytes = written(cdp);
    EXPECT_EQ(toHex(bytes).substr(0, 28), "9669114f6b000072e073a0ef0074");
    EXPECT_EQ(*read(bytes).cdp, cdp);
    cdp.removeCcData();
    cdp.removeServiceInformation();
    cdp.removeFutureSections();
    EXPECT_EQ(cdp, Cdp());
}

TEST(Cdp, RefusesMoreThanItHolds) {
    Cdp cdp;
    const std::vector<Triplet> triplets(32);
    const std::vector<CaptionService> services(16);
    const auto many = cdp.setTriplets(triplets);
    ASSERT_FALSE(many);
    EXPECT_EQ(many.error(), (Finding{FindingCode::CdpTooManyTriplets, Severity::Error, 0, 32, 31}));
    const auto manyServices = cdp.setServices(services);
    ASSERT_FALSE(manyServices);
    EXPECT_EQ(manyServices.error(), (Finding{FindingCode::CdpTooManyServices, Severity::Error, 0, 16, 15}));
    const auto unknown = cdp.addFutureSection(0x74, Bytes{1, 2, 3});
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.error(), (Finding{FindingCode::CdpSectionUnknown, Severity::Error, 0, 0x74, 3}));
    EXPECT_FALSE(cdp.addFutureSection(0xF0, {}));
    const auto large = cdp.addFutureSection(0x75, Bytes(243));
    ASSERT_FALSE(large);
    EXPECT_EQ(large.error(), (Finding{FindingCode::CdpTooLong, Severity::Error, 0, 256, 255}));
    EXPECT_EQ(cdp, Cdp());
}

TEST(Cdp, IsWrittenUpTo255Bytes) {
    Cdp cdp;
    EXPECT_TRUE(cdp.addFutureSection(0x75, Bytes(242, 0x74)));
    const Bytes bytes = written(cdp);
    EXPECT_EQ(bytes.size(), 255U);
    const Read result = read(bytes);
    EXPECT_EQ(result.findings, FindingList{});
    EXPECT_EQ(*result.cdp, cdp);
    cdp.setTimeCode(CdpTimeCode());
    std::array<std::uint8_t, 300> room{};
    const Finding tooLong{FindingCode::CdpTooLong, Severity::Error, 0, 260, 255};
    EXPECT_EQ(writeCdp(cdp, room).error(), tooLong);
    EXPECT_EQ(writeCdp(cdp).error(), tooLong);
    EXPECT_EQ(room, (std::array<std::uint8_t, 300>{}));
}

TEST(Cdp, RefusesARoomThatIsTooSmall) {
    const Cdp cdp = allSectionsValue();
    for (std::size_t size = 0; size < 99; ++size) {
        ExactBuffer room = ExactBuffer::filled(size, 0xAA);
        const auto result = writeCdp(cdp, room.span());
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error(),
                  (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 99, static_cast<std::int64_t>(size)}));
        EXPECT_EQ(room.vector(), Bytes(size, 0xAA));
    }
}

TEST(Cdp, ServicesHaveEveryField) {
    const auto digits = [](const CaptionService& service) { return toHex(service.bytes()); };
    EXPECT_EQ(digits(CaptionService::digital(63, {'f', 'r', 'a'}, {.easyReader = true})), "bf667261ffbfff");
    EXPECT_EQ(digits(CaptionService::digital(31, {'f', 'r', 'a'}, {.wideAspectRatio = true})), "ff667261df7fff");
    EXPECT_EQ(digits(CaptionService::digital(32, {'f', 'r', 'a'})), "a0667261e03fff");
    EXPECT_EQ(digits(CaptionService::line21(true, {'s', 'p', 'a'})), "e07370617f3fff");
    EXPECT_EQ(CaptionService(), CaptionService::line21(false));
    const CaptionService last = CaptionService::digital(63, {'f', 'r', 'a'}, {.easyReader = true});
    EXPECT_FALSE(last.hasShortNumber());
    EXPECT_EQ(last.number(), 63);
    EXPECT_EQ(last.descriptorNumber(), 63);
    EXPECT_TRUE(last.easyReader());
    EXPECT_TRUE(CaptionService::line21(true).isOnField2());
}

TEST(Cdp, IsReadAtEveryShorterLength) {
    const Bytes all = allSections();
    const std::vector<Triplet> triplets = twentyTriplets();
    forEachTruncation(all, [&](const ExactBuffer& cut) {
        qlx::Findings findings;
        const auto cdp = qlx::cc::parseCdp(cut.span(), &findings);
        ASSERT_EQ(cdp.hasValue(), cut.size() >= 7) << cut.size();
        if (!cdp) {
            return;
        }
        ASSERT_FALSE(findings.empty());
        EXPECT_EQ(findings[0], (Finding{FindingCode::CdpLengthWrong, Severity::Warning, 2, 99,
                                        static_cast<std::int64_t>(cut.size())}));
        // Whole triplets from 14 on.
        const std::size_t whole = cut.size() < 14 ? 0 : std::min<std::size_t>(20, (cut.size() - 14) / 3);
        EXPECT_TRUE(std::equal(cdp->triplets().begin(), cdp->triplets().end(), triplets.begin(),
                               triplets.begin() + static_cast<std::ptrdiff_t>(whole)))
            << cut.size();
        EXPECT_EQ(cdp->timeCode().has_value(), cut.size() >= 12);
        EXPECT_EQ(cdp->services().size(), cut.size() < 83 ? 0U : cut.size() < 90 ? 1U : 2U) << cut.size();
        EXPECT_EQ(cdp->futureSections().empty(), cut.size() < 95);
    });
}

/// A value whose every field is random; nothing in it contradicts itself or the standard's table of counts.
class RandomCdp {
public:
    Cdp next() {
        Cdp cdp;
        const FrameRate rate = qlx::kFrameRates[below(8)];
        cdp.setFrameRate(rate);
        cdp.setSequenceCounter(static_cast<std::uint16_t>(_random()));
        cdp.setCaptionServiceActive(below(2) == 0);
        if (below(2) == 0) {
            const std::size_t frames = std::min<std::size_t>(qlx::nominalFramesPerSecond(rate), 60);
            cdp.setTimeCode(CdpTimeCode::make({.hours = byteBelow(24),
                                               .minutes = byteBelow(60),
                                               .seconds = byteBelow(60),
                                               .frames = byteBelow(frames > 30 ? frames / 2 : frames),
                                               .fieldFlag = below(2) == 0}));
        }
        if (below(8) != 0) {
            std::vector<Triplet> triplets(qlx::cc::slotsOf(rate).ccCount);
            // A frame has no more than one pair of a field, at 24 frames a second two.
            std::array<std::size_t, 2> places{};
            places.fill(qlx::nominalFramesPerSecond(rate) == 24 ? 2 : 1);
            for (Triplet& triplet : triplets) {
                const std::size_t type = below(4);
                const bool isValid = below(2) == 0 && (type > 1 || places[type] > 0);
                triplet = Triplet::make(static_cast<CcType>(type), byteBelow(256), byteBelow(256), isValid);
                if (type <= 1 && isValid) {
                    --places[type];
                }
            }
            EXPECT_TRUE(cdp.setTriplets(triplets));
        }
        if (below(2) == 0) {
            addServices(cdp);
        }
        while (below(2) == 0) {
            Bytes data(below(40));
            std::generate(data.begin(), data.end(), [this] { return byteBelow(256); });
            // What has no room is refused.
            static_cast<void>(cdp.addFutureSection(static_cast<std::uint8_t>(0x75 + below(0x7B)), data));
        }
        return cdp;
    }

private:
    std::size_t below(std::size_t bound) { return _random() % bound; }
    std::uint8_t byteBelow(std::size_t bound) { return static_cast<std::uint8_t>(below(bound)); }

    void addServices(Cdp& cdp) {
        std::vector<CaptionService> services(below(16));
        for (CaptionService& service : services) {
            const CaptionService::Language language{static_cast<char>(byteBelow(256)), 'n', 'g'};
            const qlx::cc::CaptionServiceAttributes attributes{below(2) == 0, below(2) == 0};
            service = below(2) == 0 ? CaptionService::line21(below(2) == 0, language, attributes)
                                    : CaptionService::digital(byteBelow(64), language, attributes);
        }
        EXPECT_TRUE(cdp.setServices(services, {below(2) == 0, below(2) == 0, below(2) == 0}));
    }

    std::mt19937 _random{20};
};

TEST(Cdp, WithRandomFieldsComesBackTheSame) {
    RandomCdp random;
    std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
    for (int count = 0; count < qlxtest::countFor(100'000, 20'000); ++count) {
        const Cdp cdp = random.next();
        const auto size = writeCdp(cdp, room);
        ASSERT_TRUE(size);
        const std::span<const std::uint8_t> bytes(room.data(), *size);
        qlx::Findings findings;
        const auto back = qlx::cc::parseCdp(bytes, &findings);
        ASSERT_TRUE(back);
        ASSERT_TRUE(findings.empty()) << findings[0].text() << " in " << toHex(bytes);
        ASSERT_EQ(*back, cdp) << toHex(bytes);
        // Neither length byte nor checksum is needed.
        room[2] = static_cast<std::uint8_t>(room[2] + 1 + count % 255);
        room[*size - 1] = static_cast<std::uint8_t>(room[*size - 1] + count % 3);
        const auto again = qlx::cc::parseCdp(bytes);
        ASSERT_TRUE(again);
        ASSERT_EQ(*again, cdp) << toHex(bytes);
    }
}

}  // namespace
