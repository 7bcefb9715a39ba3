// The caption atoms of QuickTime samples, both ways.
#include <qlx/anc/caption_atom.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlx::anc::captionAtoms;
using qlx::anc::CaptionAtomView;
using qlx::anc::kCdpAtom;
using qlx::anc::kFieldOneAtom;
using qlx::anc::kFieldTwoAtom;
using qlx::anc::writeCaptionAtom;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;

struct CaptionAtom {
    std::uint32_t type = 0;
    std::size_t offset = 0;
    std::vector<std::uint8_t> content;

    friend bool operator==(const CaptionAtom&, const CaptionAtom&) = default;
};

std::vector<CaptionAtom> atomsOf(std::span<const std::uint8_t> sample, Findings& findings) {
    std::vector<CaptionAtom> atoms;
    for (const CaptionAtomView& atom : captionAtoms(sample, &findings)) {
        atoms.push_back({atom.type, atom.offset, {atom.content.begin(), atom.content.end()}});
    }
    return atoms;
}

struct Case {
    std::string hex;
    std::vector<CaptionAtom> atoms;
    std::vector<Finding> findings;
};

TEST(CaptionAtoms, AreReadOneBehindTheOther) {
    const std::uint32_t wide = qlx::fourCC("wide");
    for (const auto& [hex, atoms, expected] : std::vector<Case>{
             {"", {}, {}},
             {"0000000a 63646174 942c", {{kFieldOneAtom, 0, {0x94, 0x2C}}}, {}},
             {"0000000c 63646174 942c942f 0000000a 63647432 152c",
              {{kFieldOneAtom, 0, {0x94, 0x2C, 0x94, 0x2F}}, {kFieldTwoAtom, 12, {0x15, 0x2C}}},
              {}},
             {"0000000b 63636470 966901", {{kCdpAtom, 0, {0x96, 0x69, 0x01}}}, {}},
             {"00000008 63636470", {{kCdpAtom, 0, {}}}, {}},
             {"00000001 63636470 0000000000000012 9669", {{kCdpAtom, 0, {0x96, 0x69}}}, {}},
             {"00000000 63636470 966901", {{kCdpAtom, 0, {0x96, 0x69, 0x01}}}, {}},
             // What holds nothing, and what is not known.
             {"0000000a 66726565 0000 00000008 736b6970 0000000a 63647432 152c",
              {{kFieldTwoAtom, 18, {0x15, 0x2C}}},
              {}},
             {"0000000a 77696465 0000 0000000a 63646174 942c",
              {{kFieldOneAtom, 10, {0x94, 0x2C}}},
              {{FindingCode::AtomTypeUnknown, Severity::Error, 0, wide, 10}}},
             // Damage.
             {"0000000b 63646174 942c94 0000000a 63647432 152c",
              {{kFieldOneAtom, 0, {0x94, 0x2C}}, {kFieldTwoAtom, 11, {0x15, 0x2C}}},
              {{FindingCode::AtomPairHalf, Severity::Error, 0, 3, 0}}},
             {"ffffffff 63636470 966901",
              {{kCdpAtom, 0, {0x96, 0x69, 0x01}}},
              {{FindingCode::AtomContentCut, Severity::Warning, 0, 0xFFFFFFFF, 11}}},
             {"0000000a 63646174 942c 00000007 63647432",
              {{kFieldOneAtom, 0, {0x94, 0x2C}}},
              {{FindingCode::AtomSizeWrong, Severity::Error, 10, 7, 8}}},
             {"0000000a 63646174 942c 000000",
              {{kFieldOneAtom, 0, {0x94, 0x2C}}},
              {{FindingCode::AtomCut, Severity::Error, 10, 8, 3}}},
         }) {
        const ExactBuffer sample(fromHex(hex));
        Findings findings;
        EXPECT_EQ(atomsOf(sample.span(), findings), atoms) << hex;
        EXPECT_EQ(std::vector(findings.begin(), findings.end()), expected) << hex;
        EXPECT_EQ(atomsOf(sample.span(), findings), atoms) << "once more: " << hex;
    }
}

TEST(CaptionAtoms, EndWhereTheSampleIsCut) {
    const auto sample = fromHex("0000000c 63646174 942c942f 0000000b 63636470 966901");
    qlxtest::forEachTruncation(sample, [&](const ExactBuffer& part) {
        Findings findings;
        const std::vector<CaptionAtom> atoms = atomsOf(part.span(), findings);
        EXPECT_EQ(findings.empty(), part.size() == 0 || part.size() == 12) << part.size();
        EXPECT_EQ(atoms.size(), part.size() < 8 ? 0U : part.size() < 20 ? 1U : 2U) << part.size();
        for (const CaptionAtom& atom : atoms) {
            EXPECT_LE(atom.offset + 8 + atom.content.size(), part.size());
        }
    });
}

TEST(CaptionAtoms, AreWrittenAsTheyAreRead) {
    std::mt19937 random(12);
    for (int round = 0; round < 200; ++round) {
        std::vector<CaptionAtom> atoms;
        std::vector<std::uint8_t> sample;
        for (std::size_t count = random() % 5; count > 0; --count) {
            const std::uint32_t type = std::array{kFieldOneAtom, kFieldTwoAtom, kCdpAtom}[random() % 3];
            std::vector<std::uint8_t> content(type == kCdpAtom ? random() % 300 : random() % 40 * 2);
            std::ranges::generate(content, [&] { return static_cast<std::uint8_t>(random()); });
            atoms.push_back({type, sample.size(), content});
            ExactBuffer room = ExactBuffer::filled(8 + content.size(), 0xEE);
            const auto size = writeCaptionAtom(type, content, room.span());
            ASSERT_TRUE(size);
            EXPECT_EQ(*size, room.size());
            const auto bytes = writeCaptionAtom(type, content);
            ASSERT_TRUE(bytes);
            EXPECT_EQ(*bytes, qlx::Data(room.span()));
            sample.insert(sample.end(), room.data(), room.data() + room.size());
        }
        Findings findings;
        EXPECT_EQ(atomsOf(ExactBuffer(sample).span(), findings), atoms);
        EXPECT_TRUE(findings.empty());
    }
}

TEST(CaptionAtoms, ThatAreNoneAreNotWritten) {
    const std::vector<std::uint8_t> content{0x94, 0x2C, 0x94};
    const auto errorOf = [&](std::uint32_t type, std::size_t room) {
        ExactBuffer bytes = ExactBuffer::filled(room, 0xEE);
        const auto size = writeCaptionAtom(type, content, bytes.span());
        EXPECT_EQ(bytes.vector(), std::vector<std::uint8_t>(room, 0xEE)) << "untouched";
        return size ? Finding{} : size.error();
    };
    const std::uint32_t wide = qlx::fourCC("wide");
    const Finding unknown{FindingCode::AtomTypeUnknown, Severity::Error, 0, wide, 11};
    const Finding half{FindingCode::AtomPairHalf, Severity::Error, 0, 3, 0};
    EXPECT_EQ(errorOf(wide, 20), unknown);
    EXPECT_EQ(errorOf(kFieldTwoAtom, 20), half);
    EXPECT_EQ(errorOf(kCdpAtom, 10), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 11, 10}));
    EXPECT_EQ(writeCaptionAtom(wide, content).error(), unknown);
    EXPECT_EQ(writeCaptionAtom(kFieldOneAtom, content).error(), half);
}

}  // namespace
