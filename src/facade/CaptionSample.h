// Caption samples: media type `clcp` with raw pairs or an atom (4-byte size, `cdat` or `ccdp`, payload).
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/anc/atom.h>
#include <qlx/anc/caption_atom.h>

#include "facade/CaptionDistributionPacket.h"
#include "facade/OneSample.h"

#include <cstdint>
#include <memory>
#include <span>

namespace qlx::captionsample {

inline constexpr std::uint32_t kSubtitleMediaType = fourCC("sbtl");
inline constexpr std::uint32_t kSubTypeOP47 = fourCC("op47");
inline constexpr std::uint32_t kMetadataMediaType = fourCC("meta");
inline constexpr std::uint32_t kSubTypeVANC = fourCC("VANC");

/// Writes an atom header into the first 8 bytes.
void writeAtomHeader(std::uint8_t* bytes, std::uint32_t size, std::uint32_t type) noexcept;

/// A `clcp` sample of the given bytes; null when any step of making it is refused, the last one included.
[[nodiscard]] std::shared_ptr<SampleBuffer> ofBytes(std::uint32_t subType, std::span<const std::uint8_t> bytes,
                                                    const SampleTimingInfo& timingInfo);

/// A `c608` or `c708` sample of an atom.
[[nodiscard]] std::shared_ptr<SampleBuffer> atom(std::uint32_t atomType, std::span<const std::uint8_t> payload,
                                                 const SampleTimingInfo& timingInfo);

/// A `c708` sample of a CDP made from a CEA-608 payload.
[[nodiscard]] std::shared_ptr<SampleBuffer> fromPayload(const SampleTimingInfo& timingInfo,
                                                        const MediaTime& frameDuration, std::uint16_t sequenceCounter,
                                                        const Data& payload);

/// That CDP by itself.
[[nodiscard]] Data packetOfPayload(const MediaTime& frameDuration, std::uint16_t sequenceCounter, const Data& payload);

/// A `c708` sample of a CDP made from ready triplets; a short list of whole triplets is taken as a payload. Null for a
/// duration of 0 or a frame duration without triplets.
[[nodiscard]] std::shared_ptr<SampleBuffer> fromTriplets(const SampleTimingInfo& timingInfo,
                                                         const MediaTime& frameDuration, std::uint16_t sequenceCounter,
                                                         const Data& triplets);

/// The payload of a caption or `meta`/`VANC` sample; none for any other sample, or a `c708` one without a whole header.
[[nodiscard]] Data payloadOf(const SampleBuffer& sample);

}  // namespace qlx::captionsample
