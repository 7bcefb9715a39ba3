// The kinds of findings, each with a number.
//
//     if (finding.code == qlx::FindingCode::OutputTooSmall) { report(finding.first); }  // Bytes needed.
#pragma once

#include <cstdint>

namespace qlx {

/// What was found: a block of 0x1'0000 numbers for each room. A number keeps its meaning. The two numbers of a finding
/// are named behind each code.
enum class FindingCode : std::uint32_t {
    None = 0,

    // base
    OutputTooSmall = 0x1'0001,  ///< The caller's room: bytes needed, bytes there.
    LimitOfBytesReached,        ///< ReadLimits::bytes, 0.
    LimitOfItemsReached,        ///< ReadLimits::items, 0.

    // anc (SMPTE ST 291-1)
    AncChecksumWrong = 0x2'0001,  ///< Word (or byte) there, word that is right.
    AncHeaderParityWrong,         ///< Word there, word that is right.
    AncChecksumNotCarried,        ///< Byte there, byte that would be right.
    AncPacketCut,                 ///< Words announced (7 where the data count is cut off), words there.
    AncPacketNotContiguous,       ///< Word of the channel at which the packet begins, word behind the one before it.
    AncFlagInsidePacket,          ///< Words announced, words there up to the row's end.
    AncRowTooShort,               ///< Bytes needed, bytes there.
    AncPacketDoesNotFit,          ///< Words needed, words free.
    AncTooManyUserDataWords,      ///< Words given, greatest count.
    AncPacketDropped,             ///< DID, SDID; the offset is the number of its frame.
    AncPayloadCut,                ///< User data bytes needed, bytes there.
    AncUserDataOfTenBits,         ///< User data words whose upper two bits are not those of their bytes.

    // anc (SMPTE ST 436-1)
    AncElementCut = 0x2'0101,    ///< Bytes needed (from the count or the packet's line number on), bytes there.
    AncElementCountWrong,        ///< Packets announced, packets that begin.
    AncElementTrailingBytes,     ///< Bytes behind the last packet, packets announced.
    AncElementWrappingUnknown,   ///< Wrapping type there.
    AncElementCodingUnknown,     ///< Payload sample coding there, bytes of the packet's array.
    AncElementParityError,       ///< Payload sample coding there.
    AncElementSampleCountWrong,  ///< Payload sample count there, count that the samples have.
    AncElementArrayLengthWrong,  ///< Length of the array's elements there, 1.
    AncElementArrayTooShort,     ///< Samples needed, samples there.
    AncElementSpareBitsSet,      ///< Word with the bits that belong to no sample.
    AncElementTooManyPackets,    ///< Packets given, greatest count.
    AncElementLineTooGreat,      ///< Line number given, greatest one.
    AncElementPaddingUncounted,  ///< Zeros behind an array that does not count them, bytes of the array.

    // anc (ISO/IEC 14496-12)
    AtomCut = 0x2'0201,  ///< Bytes of the header needed, bytes there.
    AtomSizeWrong,       ///< Size there, least one.
    AtomContentCut,      ///< Bytes of the atom announced, bytes there.
    AtomTypeUnknown,     ///< Its four characters as a number, bytes of the atom; passed over.
    AtomPairHalf,        ///< Bytes of the pairs there; the last one is left out.

    // cc (SMPTE ST 334-2, CTA-708)
    CdpTooShort = 0x3'0001,       ///< Bytes needed, bytes there.
    CdpIdentifierWrong,           ///< Identifier there, the right one.
    CdpLengthWrong,               ///< cdp_length there, bytes of the packet.
    CdpChecksumWrong,             ///< Byte there, byte that is right.
    CdpFrameRateUnknown,          ///< cdp_frame_rate there.
    CdpFlagsContradictSections,   ///< Flags there, flags of the sections that are there.
    CdpCountUnlikeRate,           ///< cc_count there, cc_count of the frame rate.
    CdpCountWrong,                ///< cc_count there, triplets that are there.
    CdpCounterUnlikeFooter,       ///< Counter of the header, counter of the footer.
    CdpCounterJumped,             ///< Counter there, counter that was expected.
    CdpSectionCut,                ///< Section identifier, bytes that are there.
    CdpSectionOutOfOrder,         ///< Section identifier, identifier of the section before it.
    CdpSectionRepeated,           ///< Section identifier, bytes of it.
    CdpSectionUnknown,            ///< Section identifier, bytes of it.
    CdpFooterMissing,             ///< No numbers.
    CdpBytesBehindFooter,         ///< Bytes behind the footer.
    CdpReservedBitsWrong,         ///< Byte there, byte with the bits as they should be.
    CdpTimeCodeInvalid,           ///< Four bytes of the time code as a number.
    CdpServiceCountWrong,         ///< svc_count there, services that are there.
    CdpServiceNumberContradicts,  ///< Number in front of the service's entry, number in it.
    CdpTooManyTriplets,           ///< Triplets given, greatest count.
    CdpTooManyServices,           ///< Services given, greatest count.
    CdpTooLong,                   ///< Bytes needed or there, greatest length.

    // cc, change of the rate; the offset is the number of a frame
    RateFrameOutOfOrder,     ///< Frame that came, frame that it is taken as.
    RateUnlikePacket,        ///< cdp_frame_rate there, that of the frames.
    RateTimeCodeImpossible,  ///< Four bytes of the time code as a number, cdp_frame_rate of the frames.
    RateSentLate,            ///< cc_type or identifier of a section (71h and above), milliseconds that it has waited.
    RateWaitsAtEnd,          ///< The same; triplets or sections that go out behind the last frame of the input.
    RateSectionDoesNotFit,   ///< Section identifier, bytes of it.
    RateTooManyStreams,      ///< Line of the captions, most lines and channels with captions.
    RateFramesMissing,       ///< Frame that came, frames in front of it that did not.

    // cc, captions in coded pictures (ATSC A/53 Part 4)
    UserDataTooShort,           ///< Bytes needed, bytes there.
    UserDataUnlikeCaptions,     ///< Byte there, byte that is right.
    UserDataCut,                ///< cc_count there, triplets that are there.
    UserDataMarkerBitsWrong,    ///< Byte there, byte that is right.
    UserDataMarkerBitsMissing,  ///< No numbers.
    UserDataBytesBehind,        ///< Bytes behind the marker bits.

    // cc, more of the counters of CDPs
    CdpCounterStandsStill,  ///< Counter there, that expected; told once.

    // cc, more of what contradicts itself in CDPs
    CdpDropFrameUnlikeRate,  ///< Four bytes of the time code as a number, cdp_frame_rate there.
    CdpPairsUnlikeRate,      ///< Field, 1 or 2; its pairs with content, of which a frame of the rate has fewer.

    // cea708 (CTA-708)
    Cea708DataOutsidePacket = 0x5'0001,  ///< Two bytes as a number, the first of those that stand together.
    Cea708PacketLost,                    ///< Sequence number there, that expected.
    Cea708PacketCut,                     ///< Bytes announced, bytes there.
    Cea708BytesBehindPacket,             ///< Bytes behind the packet.
    Cea708BlockCut,                      ///< Bytes needed, bytes there.
    Cea708BytesBehindNullBlock,          ///< Bytes behind the zeros of the null block.
    Cea708ServiceWrong,                  ///< Service there or given, bytes of its block.
    Cea708ReservedBitsWrong,             ///< Byte there, byte that is right.
    Cea708BlockTooLong,                  ///< Bytes given, greatest count.
    Cea708PacketFull,                    ///< Bytes needed, bytes free.
    Cea708CommandCut,                    ///< Bytes needed, bytes there.
    Cea708CommandUnknown,                ///< Code (1000h and the second byte behind EXT1), bytes of it.
    Cea708NumberUndefined,               ///< Code of the command, number there.
    Cea708ValueTooGreat,                 ///< Number given, greatest one.
    Cea708CommandsDropped,               ///< Bytes of commands that waited as something was lost.
    Cea708CharacterUnknown,              ///< Code of the character that is shown as an underscore.
    Cea708NoCurrentWindow,               ///< Code of the command, or the first of some characters, that needs one.
    Cea708WindowUndefined,               ///< Window that is to be the current one.
    Cea708WindowTooLarge,                ///< Rows or columns there, greatest number.
    Cea708WindowOutside,                 ///< Anchor or edge of the window there, greatest or right one.
    Cea708LocationOutside,               ///< Row or column there, greatest of the window.
    Cea708RowFull,                       ///< Character that is left out, columns of the row.
    Cea708DelayFull,                     ///< Bytes that wait, milliseconds that were left.
    // cea708, captions to service blocks; the offset is the number of the caption, a place is qlx::screen::placeOf()
    Cea708CaptionEmpty = 0x5'0101,  ///< No numbers; left out.
    Cea708TimesWrong,               ///< Frame of its start, frame of its end: left out.
    Cea708NoSuchService,            ///< Service that is asked for: left out.
    Cea708CaptionOverlaps,  ///< Frame of its start, frame of the end of the caption before it, which ends at the start.
    Cea708RowMoved,         ///< Place in the caption (its row there, cell of that row), place on the screen.
    Cea708RowCut,           ///< Place in the caption, columns from there on that are left out.
    Cea708RowLeftOut,       ///< Place in the caption, columns: the screen has no more rows.
    Cea708CharacterReplaced,  ///< Unicode character there, one that is sent for it.
    Cea708StyleReplaced,      ///< Place, columns that ask for a style that there is not.
    Cea708TextLeftOut,        ///< Place, columns that are spaces: second halves of letters, and concealed ones.
    Cea708ShownLate,          ///< Frames that it is late.
    Cea708EndLate,            ///< Frames that its end is late.
    Cea708TextLate,           ///< Frames from its end up to the one with the last of its text, both counted.
    // cea608 (CTA-608-E), captions to pairs; the offset is the number of the caption, a place is qlx::cea608::placeOf()
    Cea608CaptionEmpty = 0x4'0001,  ///< No numbers; left out.
    Cea608TimesWrong,               ///< Frame of its start, frame of its end: left out.
    Cea608CaptionOverlaps,  ///< Frame of its start, frame of the end of the caption before it, which ends at the start.
    Cea608RowMoved,         ///< Place in the caption (its row there, cell of that row), place on the screen.
    Cea608RowBroken,        ///< Place in the caption, spaces from there on that the break takes.
    Cea608RowCut,           ///< Place in the caption, columns from there on that are left out.
    Cea608RowLeftOut,       ///< Place in the caption, columns: the caption has its four rows.
    Cea608CharacterReplaced,  ///< Unicode character there, one that is sent for it.
    Cea608ColorReplaced,      ///< Number of the colour there, of the one that is sent for it.
    Cea608ColorLate,    ///< Place, columns whose letters have the colour of what is before them (white at a beginning).
    Cea608ItalicsLate,  ///< Place, columns whose letters have italics, or have none, in spite of what is asked for.
    Cea608UnderlineLate,    ///< Place, columns whose letters have an underline, or have none, the same.
    Cea608BackgroundLate,   ///< Place, columns with the background of the one before them (black at a beginning).
    Cea608BackgroundEarly,  ///< Place, columns with the background of the one behind them.
    Cea608FlashLeftOut,     ///< Place, columns whose background should flash, and does not.
    Cea608ShownLate,        ///< Frames that it is late, pairs that its load lacks (cea608::Writer).
    Cea608EndLate,          ///< Frames that its end is late.
    Cea608OpacityLeftOut,   ///< Place, columns whose letters are solid, and not translucent or transparent.
    Cea608TextLeftOut,      ///< Place, columns that are spaces: second halves of letters, and concealed ones.
    Cea608FlashLate,        ///< Place, columns whose letters flash, or do not, in spite of what is asked for.
    // cea608, pairs to the screen; the offset is what the caller says
    Cea608ParityWrong = 0x4'0101,  ///< The two bytes as a number, 0.
    Cea608NoParity,                ///< Pairs that have no parity bit (told once), 0.
    Cea608CodeUnknown,             ///< The two bytes as a number, 0.
    Cea608BegunInside,             ///< Place: text without a code in front of it that says how it is shown; 0.
    Cea608BackgroundMoved,         ///< Place of a background code that takes no column, 0.
    Cea608ColumnFull,              ///< Place of a letter, letter that it replaces.
    Cea608TextInFront,             ///< The two bytes of the first pair as a number (told once), 0.
    // cea608, extended data services; a packet is class and type as one number
    Cea608XdsChecksumWrong = 0x4'0201,  ///< Byte there, byte that is right.
    Cea608XdsDamaged,                   ///< Packet, bytes of it.
    Cea608XdsTooLong,                   ///< Packet, greatest number of bytes.
    Cea608XdsCut,                       ///< Packet that has no end, bytes of it.
    Cea608XdsNotBegun,                  ///< Code there, byte behind it: the packet has no beginning.
    Cea608XdsValueWrong,                ///< Packet, bytes of it: none of its type.
    Cea608XdsTextCut,                   ///< Characters of a text, greatest number.
    Cea608XdsNotCarried,                ///< Place of the value among those of packets; a number of it has no room.
    Cea608XdsLeftOut,                   ///< Packet, bytes of it: its class, type or bytes are none that can be sent.

    // teletext (ETSI EN 300 706, SMPTE RDD 8)
    TeletextPacketSizeWrong = 0x6'0001,  ///< Bytes there, bytes of a packet with run-in.
    TeletextRunInWrong,                  ///< Byte there, byte that is right.
    TeletextFramingCodeWrong,            ///< Byte there, byte that is right.
    TeletextByteCorrected,               ///< Byte there, byte that is right.
    TeletextByteWrong,                   ///< Byte there.
    TeletextTripletCorrected,            ///< 24 bits there, 24 bits that are right.
    TeletextTripletWrong,                ///< 24 bits there.
    TeletextNotThatPacket,               ///< Packet number there, (first) number that it should be.
    TeletextFieldTooGreat,               ///< Number given, greatest number.
    SdpTooShort,                         ///< Bytes needed, bytes there.
    SdpIdentifierWrong,                  ///< Identifier there, the right one.
    SdpFormatUnknown,                    ///< Format code there, that of teletext.
    SdpLengthWrong,                      ///< Length byte there, bytes of the packet.
    SdpDescriptorUnused,                 ///< Its place, 0 to 4.
    SdpLineCut,                          ///< Teletext packets announced, those that are there.
    SdpFooterMissing,                    ///< Byte in place of the footer's identifier, 0 behind the end.
    SdpFooterCut,                        ///< Bytes there, bytes needed.
    SdpChecksumWrong,                    ///< Byte there, byte that is right.
    SdpBytesBehindFooter,                ///< Bytes behind the footer.
    SdpCounterJumped,                    ///< Counter there, counter that was expected.

    // teletext, texts as codes and placements; the offset is the place in the text
    TeletextCharacterReplaced = 0x6'0101,  ///< Unicode character there, one that is shown for it.
    TeletextCharacterMissing,              ///< Unicode character there, one that is shown for it.
    TeletextMarkLeftOut,                   ///< Unicode character there: a mark that no letter takes.
    TeletextOrderLost,                     ///< First place that is read otherwise from the screen, cells of the row.
    TeletextPlacementLeftOut,              ///< Row, column.
    TeletextMosaicLeftOut,                 ///< Block mosaics and lines of the third set (G3) of a packet X/26.

    // teletext: writing
    TeletextRowLeftOut = 0x6'0201,  ///< Row, columns of it: the page has none there, or something else stands on it.
    TeletextRowMoved,               ///< Row, column where its text begins.
    TeletextRowCut,                 ///< Row, columns that are left out.
    TeletextBoxesJoined,            ///< Row, column of a gap that is too small to show the picture.
    TeletextColorKept,              ///< Row, column where the colour should change, and no space is in front.
    TeletextColorChanged,           ///< Row, letters whose colour became the nearest one.
    TeletextStyleLeftOut,           ///< Row, letters that ask for what has no form in teletext.
    TeletextPageNotCallable,        ///< Page, subcode; left out.
    TeletextTimesWrong,             ///< Frame of its start, frame of its end; left out.
    TeletextPageEmpty,              ///< No numbers; left out.
    TeletextPageLate,               ///< Frame of its start, frames behind it.
    TeletextEraseLate,              ///< Frame of its end, frames behind it.
    TeletextPageLeftOut,            ///< Frame of its start, frame of its end: it was over before it could begin.
    TeletextRepetitionLate,         ///< Page, seconds for which it has not been sent again.
    TeletextBackgroundKept,  ///< Row, column where the background should change, and too few spaces are in front.
    TeletextFlashKept,       ///< Row, column where flashing should begin or end, the same.

    // scte (ANSI/SCTE 104, ANSI/SCTE 35, SMPTE ST 2010)
    ScteMessageMarkWrong = 0x7'0001,  ///< Word that the message begins with, FFFFh.
    ScteMessageCut,                   ///< Bytes needed, bytes there.
    ScteMessageSizeWrong,             ///< messageSize there, bytes of the message.
    ScteOperationsMissing,            ///< num_ops there, operations that are there.
    ScteOperationCut,                 ///< data_length there, bytes that are there.
    ScteOperationTooShort,            ///< opID, bytes of its data.
    ScteOperationUnknown,             ///< opID, bytes of its data.
    ScteBytesBehindOperation,         ///< opID, bytes behind its fields.
    ScteBytesBehindMessage,           ///< Bytes behind the last operation.
    ScteNumberWrong,                  ///< Number there, greatest that is defined.
    ScteValueTooLarge,                ///< Number or count given, greatest that the field holds.
    ScteTooLong,                      ///< Bytes needed or there, greatest length.
    ScteReservedBitsWrong,            ///< Bits there, the right ones.
    SctePacketEmpty,                  ///< No numbers.
    SctePacketVersionUnknown,         ///< Payload descriptor there, one of the version that is known.
    SctePacketDescriptorReserved,     ///< Payload descriptor there, the same with reserved bits 0.
    SctePieceMissing,                 ///< Payload descriptor that came (0 at the frame's end), bytes that are left out.
    ScteTableIdWrong,                 ///< table_id there, FCh.
    ScteSectionCut,                   ///< Bytes needed, bytes there.
    ScteSectionTooLong,               ///< section_length there or needed, greatest one.
    ScteSectionCrcWrong,              ///< CRC_32 there, the right one.
    ScteSectionEncrypted,             ///< encryption_algorithm, bytes that are encrypted.
    ScteBytesBehindSection,           ///< Bytes behind the section.
    ScteCommandLengthWrong,           ///< splice_command_length there, bytes of the command (0 where that is unknown).
    ScteCommandTooShort,              ///< splice_command_type, bytes of the command.
    ScteCommandUnknown,               ///< splice_command_type, bytes of the command.
    ScteBytesBehindCommand,           ///< splice_command_type, bytes behind its fields.
    ScteDescriptorLoopCut,            ///< descriptor_loop_length there, bytes that are there.
    ScteDescriptorCut,                ///< splice_descriptor_tag, bytes that are there.
    ScteDescriptorTooShort,           ///< splice_descriptor_tag, bytes behind its identifier.
    ScteBytesBehindDescriptor,        ///< splice_descriptor_tag, bytes behind its fields.
    ScteSubSegmentsUnexpected,        ///< segmentation_type_id, which has no sub-segments.
    ScteTextWrong,                    ///< Character (Unicode) there, characters that are there.
    ScteMakesNoSection,               ///< opID of what SCTE 35 has no section for; its offset counts operations from 0.
    ScteSupplementAlone,              ///< The same of what adds to another one, which is not there (read: a byte).
    ScteMomentMissing,                ///< time_type; the moment of the time stamp in the stream is needed.
    ScteRateMissing,                  ///< duration_extension_frames; the frame rate is needed.
    SctePreRollIgnored,               ///< Milliseconds of pre-roll that an immediate splice has no use for.
    ScteBreakDurationIgnored,         ///< Tenths of a second that only the start of a break has a use for.
    ScteSpliceIsImmediate,            ///< splice_insert_type of a splice without pre-roll, which is immediate.
    ScteComponentsMissing,            ///< opID of a list of components that has none; the splice stays the program's.
    ScteScheduleReplaced,             ///< Events of a schedule that another one replaces before it is transmitted.
    ScteScheduleCancelled,            ///< Events of a schedule that is not transmitted because it is cancelled.
    ScteMessageEmpty,                 ///< No numbers; a message without operations.
    ScteProtocolVersionUnknown,       ///< protocol_version there, the known one.
    ScteSectionIndicatorSet,          ///< 1: section_syntax_indicator, 2: private_indicator, 3: both; each should be 0.
    ScteDescriptorTooLong,            ///< descriptor_length there, the greatest one.
    ScteUpidLengthWrong,              ///< segmentation_upid_type, bytes of the UPID.
    ScteMakesNoOperation,   ///< encryption_algorithm of a section that no operation makes; its offset counts sections.
    SctePreRollOutOfRange,  ///< Milliseconds from the frame to the splice, greatest pre-roll; the same.
    SctePreRollRounded,     ///< Ticks from the frame to the splice, ticks of the pre-roll; the same.
    ScteDurationRounded,    ///< Ticks of a break or segment, ticks that are kept; the same.
    ScteNotCarried,         ///< 1: of a section, 2: of its command, 3: of its event or component; the same.
    SctePreRollTooShort,    ///< Milliseconds of pre-roll in front of a break, the fewest that there should be.
    ScteExtensionFramesIgnored,  ///< duration_extension_frames of a segment without a duration.
    ScteEntryFlagIgnored,        ///< not_an_entry_flag, for which SCTE 35 has no field.
    ScteControlWordTwice,        ///< CW_index that an operation of the message has already; its offset is a byte.
    ScteResultInRequest,         ///< result or result_extension there, FFFFh.
    ScteNameUnended,             ///< Bytes of a name, none of which is the 0 that ends it.

    // video (ITU-T H.264, ITU-T H.265, ISO/IEC 13818-2); the offset is a byte of the unit, picture or stream
    VideoUnitTooShort = 0x8'0001,  ///< Bytes needed, bytes there.
    VideoConfigurationWrong,       ///< Version there, 1.
    VideoParametersWrong,          ///< nal_unit_type, bytes of the parameter set.
    VideoLengthCut,                ///< Bytes of a length, bytes at the end that are no unit.
    VideoUnitCut,                  ///< Length there, bytes there.
    VideoUnitEmpty,                ///< No numbers; a length of 0.
    VideoSeiReferenced,            ///< nal_ref_idc there, 0.
    VideoSeiCut,                   ///< payloadSize there (0 where it is cut itself), bytes there.
    VideoSeiTrailingBits,          ///< No numbers; the unit does not end with 80h.
    VideoStartCodeMissing,         ///< Bytes without one, most that are looked at.
    VideoSystemStartCode,          ///< Byte behind the start code.
    VideoUnitTooLong,              ///< Bytes of the access unit so far, most that it may have.
    VideoParametersMissing,        ///< Bytes without a sequence header or parameter set, most that are looked at.
    VideoUserDataUnlikeScte20,     ///< Bytes there.
    VideoScte20Cut,                ///< cc_count, pairs there.
    VideoScte20FieldWrong,         ///< Number of the pair from 0; its field_number is 0.
    VideoScte20OtherLine,          ///< Number of the pair from 0, its line_offset.
    VideoParametersNotYetThere,    ///< Pictures; the offset is that of the first one.

    // klv (SMPTE ST 336)
    KlvKeyWrong = 0x9'0001,  ///< The first four bytes as a number, in place of 060E2B34h.
    KlvLengthIndefinite,     ///< No numbers.
    KlvLengthTooLong,        ///< Bytes announced for the length, most that are possible.
    KlvLengthTooGreat,       ///< Length there, greatest one for such a key.
    KlvLengthLeadsNowhere,   ///< Length there.
    KlvSkipped,              ///< Bytes skipped.
    KlvCut,                  ///< Key or length: bytes needed from the key on (or of the length alone), bytes there.
    KlvValueCut,             ///< Bytes of the value, bytes there.
    KlvLengthDoesNotFit,     ///< Length given, bytes given for it.
    KlvValueHoldsTriplets,   ///< Length there, byte of the stream at which a triplet inside the value leads on.

    // klv (SMPTE ST 377-1)
    MxfPartitionTooShort = 0x9'0101,  ///< Bytes needed, bytes there.
    MxfListCut,                       ///< Items announced, items there.
    MxfListItemLengthWrong,           ///< Length of an item there, the right one.
    MxfTrailingBytes,                 ///< Bytes behind the last field.

    // subtitles
    SubtitleTextNotUtf8 = 0xA'0001,  ///< First byte that is no UTF-8, how many there are in the row.

    // subtitles, SubRip; the offset is the number of a line, counted from 1
    SrtNumberWrong = 0xA'0101,  ///< No numbers.
    SrtTimingMissing,           ///< No numbers; the line is the cue's number, or what stands in its place.
    SrtTimingWrong,             ///< No numbers.
    SrtTimeWrong,               ///< 1 for the start, 2 for the end.
    SrtTimeUnusual,             ///< The same, milliseconds that it is read as.
    SrtEndNotLater,             ///< Milliseconds of the start, of the end.
    SrtBytesBehindTimes,        ///< Bytes behind the times.
    SrtTimingInsideCue,         ///< No numbers.
    SrtCueTooLong,              ///< Greatest size in bytes, most lines of a cue.
    SrtNumberTooGreat,          ///< The greatest number, which it is read as.
    SrtRowWrong,                ///< Size of the value in bytes.
    SrtColorUnknown,            ///< Teletext number of the colour that it is read as, size of the value in bytes.

    // subtitles (EBU Tech 3264)
    StlTooShort = 0xA'0201,      ///< Bytes needed, bytes there.
    StlDiskFormatUnknown,        ///< The eight characters as a number.
    StlFieldUnknown,             ///< The characters of the field, three at most, as a number; its size.
    StlNumberWrong,              ///< The first character that is no digit, size of the field.
    StlTimeCodeWrong,            ///< Its four numbers as a number of four bytes, frames in a second (0: not known).
    StlBlockCountWrong,          ///< Text and timing blocks announced, those that are there.
    StlBlockCut,                 ///< Bytes of a block, bytes there.
    StlExtensionNumberReserved,  ///< Extension block number there.
    StlStatusUnknown,            ///< Cumulative status there, greatest that is defined.
    StlJustificationUnknown,     ///< Justification code there, greatest that is defined.
    StlCommentFlagUnknown,       ///< Comment flag there, greatest that is defined.
    StlEndNotLater,              ///< The four numbers of the time code in as a number of four bytes, of that out.
    StlTextUnended,              ///< Characters behind the last line break, which are left out.
    StlCodesPassed,        ///< The first code that is passed over and is none of 80h to 85h, how many such there are.
    StlStylesPassed,       ///< The first of the codes 80h to 85h, how many there are.
    StlRowsOffPage,        ///< Vertical position there, rows with text that are on no row of a teletext page.
    StlTableNotRead,       ///< Number of the character code table.
    StlExtensionMissing,   ///< Extension block number that was due, the one in its place (-1: another subtitle's).
    StlUserDataPassed,     ///< Subtitle number.
    StlComment,            ///< Subtitle number, rows with text.
    StlSetWrong,           ///< Cumulative status there, members of the set so far.
    StlCharacterUnknown,   ///< The first byte that the table does not have, how many such there are.
    StlRowOffScreen,       ///< Vertical position there, rows with text that are on no row of the screen.
    StlCharacterReplaced,  ///< Row, the first character that the table does not have.
    StlColorNoSpace,       ///< Row, changes of colour that take a cell where the text has no space.
    StlRowTooLong,         ///< Row, its columns.
    StlTextTooLong,        ///< Bytes of the text, greatest number.
    StlTooManyBlocks,      ///< The greatest number.
    StlTimeTooLate,        ///< Frames of the start, of the end.
    StlCuesOverlap,        ///< Frame of the start, frame up to which another cue is shown.
    StlNumberChanged,      ///< Number of the cue, the one that is written.
    StlAlignmentsDiffer,   ///< Row, its alignment.
    StlFieldCut,           ///< First byte of the field in the information block, characters of the text.
    StlCharacterMissing,   ///< Row, the first character that becomes `?`.
    StlMarkLeftOut,        ///< Row, the first combining mark that no letter takes.
    StlFieldCharacterMissing,  ///< First byte of the field, the first character that becomes `?`.
    StlRowsCovered,            ///< First row of the screen, frame up to which another cue stands there.

    // subtitles, dictionaries; the lines are counted from 1
    SubtitleValueNotDictionary = 0xA'0301,  ///< No numbers.
    SubtitleValueNoLines,                   ///< No numbers.
    SubtitleValueTimeMissing,               ///< 1 for the start, 2 for the end.
    SubtitleValueTimeWrong,                 ///< The same; 1 for a number of seconds, 2 for a time code.
    SubtitleValueTimeUnusual,               ///< The same, milliseconds that it is read as.
    SubtitleValueTimeRounded,               ///< The same.
    SubtitleValueEndNotLater,               ///< Milliseconds of the start, of the end.
    SubtitleValueNumberWrong,               ///< No numbers.
    SubtitleValueLineWrong,                 ///< Line.
    SubtitleValueTextMissing,               ///< Line.
    SubtitleValueColorWrong,                ///< Line, teletext number of the colour that it is read as.
    SubtitleValueAlignmentWrong,            ///< Line, number of the alignment that it is read as.
    SubtitleValueRowWrong,                  ///< Line, row that it is read as (0: none).
    SubtitleValueStylesLost,                ///< Line, its runs that look otherwise than what is kept.
    SubtitleValueAnchorLost,                ///< Line, its place in the cue.
    SubtitleValueFieldWrong,                ///< Row, run, 0 for the cue or row itself; the value is passed over.
    SubtitleValueKeyUnknown,                ///< The same of a key that means nothing.

    // subtitles, cues that are written; the offset is the cue, counted from 1
    SubtitleTimeEmptied = 0xA'0401,  ///< Units of the start, units in a second.
    SubtitleTimeNegative,            ///< Units of the start, of the end; the cue is left out or begins at 0.
    SubtitleTextAmbiguous,           ///< Row, counted from 1.
    SubtitleStylesLost,              ///< Row, its runs of which a style is lost.
    SubtitleColorChanged,            ///< Row, its runs whose colour is another one.
    SubtitlePlaceLost,               ///< Row, 0 for the cue.
    SubtitlePropertiesLost,          ///< Row, 0 for the cue; how many.
    SubtitleRunTimeLost,             ///< Row, its runs that appear later than the cue.
    SubtitleNameLost,                ///< Size of the cue's name in bytes.
    SubtitleRestChanged,  ///< Arrows of what stands besides cues, empty lines of it that are left out; 0 in front of cues.
    SubtitleRegionLost,  ///< Size of the name of the cue's region in bytes; of a region of the file where the offset is 0.
    SubtitleLanguageLost,  ///< Size of the name of the cue's language in bytes.

    // subtitles, SubRip as its receivers read it; the offset is the number of a line, counted from 1
    SubRipEntities = 0xA'0501,  ///< How many entities of the row are read as characters.
    SubRipTagUnknown,           ///< Bytes of the tag, which stays in the text.
    SubRipTagWithoutStart,      ///< Bytes of the tag, which is passed over.
    SubRipTagUnclosed,          ///< How many are open at the cue's end.
    SubRipTextInFront,          ///< Bytes of a row in front of the first times, which is left out.
    SubRipEmptyRow,             ///< Empty rows inside of a cue.
    SubRipAttributePassed,      ///< Bytes of an attribute of a tag, of its name and value.

    // subtitles, WebVTT; the offset is the number of a line, counted from 1
    WebVttSignatureMissing = 0xA'0601,  ///< No numbers.
    WebVttTimingWrong,                  ///< No numbers.
    WebVttTimeUnusual,                  ///< 1 for the start, 2 for the end; milliseconds that it is read as.
    WebVttEndNotLater,                  ///< Milliseconds of the start, of the end.
    WebVttSettingWrong,                 ///< Bytes of the setting, which is passed over.
    WebVttSettingInRegion,              ///< Bytes of the setting, which counts for nothing in a region.
    WebVttRegionUnknown,                ///< Bytes of its name.
    WebVttTagWrong,                     ///< Bytes of the tag, which is passed over.
    WebVttTagUnclosed,                  ///< How many are open at the cue's end.
    WebVttEntityUnknown,                ///< How many ampersands of the row begin no entity; they stay.
    WebVttInnerTimeWrong,               ///< Milliseconds.
    WebVttBlockPassed,                  ///< Lines of a block that is none, or comes too late.
    WebVttTextTooLong,                  ///< Greatest size in bytes, most lines.
    WebVttRestTooLong,                  ///< Greatest size in bytes of what is kept besides cues.
    WebVttInnerTimeUnusual,             ///< Milliseconds that it is read as.
    WebVttStyleNotApplied,              ///< Selectors, declarations of style sheets that no run has in its style.

    // subtitles, SubStation Alpha; the offset is the number of a line, counted from 1
    SsaEventsMissing = 0xA'0701,  ///< No numbers; no section has events.
    SsaInfoWrong,                 ///< Bytes of a size of the screen that is none.
    SsaFormatMissing,             ///< 0 for styles, 1 for events.
    SsaStyleWrong,                ///< Bytes of a style of which not all can be read.
    SsaStyleUnknown,              ///< Bytes of its name.
    SsaEventWrong,                ///< Bytes of an event that has fewer fields than there are columns.
    SsaTimeWrong,                 ///< 1 for the start, 2 for the end.
    SsaTimeUnusual,               ///< The same, milliseconds that it is read as.
    SsaEndNotLater,               ///< Milliseconds of the start, of the end.
    SsaEventEmpty,                ///< No numbers.
    SsaDrawing,                   ///< Bytes of drawings in the event.
    SsaSyllables,                 ///< Codes in the event that say when a syllable is sung.
    SsaCommentInText,             ///< Bytes in braces that are no codes.
    SsaComments,                  ///< Lines and events of the file that are comments.
    SsaLinesPassed,               ///< Lines of a section that are nothing that is read.
    SsaLineTooLong,               ///< Greatest size in bytes.
    SsaRowsTooMany,               ///< Most rows of a cue.

    // line21 (CTA-608-E); the offset is a pixel of the row
    Line21FormatUnknown = 0xC'0001,  ///< Pixel format there.
    Line21RowTooShort,               ///< Bytes needed, bytes there.
    Line21RowTooNarrow,              ///< Pixels needed, pixels there.
    Line21RowCut,                    ///< Bits of a pair, bits that are in the row.
    Line21RunInMissing,              ///< No numbers.
    Line21StartBitsMissing,          ///< No numbers.
    Line21ParityWrong,               ///< Byte there, 1 or 2: the first or the second of the pair.

    // streams; the offset is what the reader's placeUnit() says
    StreamReadFailed = 0x1F'0001,  ///< The system's error number; 0: not known.
    StreamWriteFailed,             ///< The same.
    StreamLibraryRemark,           ///< No numbers; FrameReader::takeLibraryTexts() has the words.

    // streams, files of frames
    StreamEmpty = 0x1F'0101,     ///< No numbers.
    StreamKindWithoutFrames,     ///< Number of the kind (qlx::streams::InputKind).
    StreamMoreFindings,          ///< How many more there are of the frame.
    RowFileRowCut,               ///< Bytes of the last row there, bytes of a row.
    RowFileFrameCut,             ///< Rows of the last frame there, rows of a frame.
    RowFileLineMissing,          ///< Line number of a packet for which there is no row.
    RowFileChannelsMixed,        ///< Line number of packets of the multiplex beside others.
    KlvFileKeyMissing,           ///< No numbers; the file does not begin with a label.
    KlvFileFrameMissing,         ///< No numbers; no triplet is an ANC frame element.
    TextLineTooLong,             ///< Greatest size in MiB.
    JsonlNotJson,                ///< Character of the line, counted from 1.
    JsonlCut,                    ///< No numbers; the line ends too early.
    JsonlTooDeep,                ///< Most levels.
    JsonlNoFrame,                ///< No numbers.
    JsonlPacketWrong,            ///< No numbers; a packet that is no object.
    JsonlPtsWrong,               ///< No numbers; a time that is no object.
    JsonlCaptionsWrong,          ///< No numbers; captions that are no object.
    JsonlChannelWrong,           ///< No numbers.
    JsonlDataWrong,              ///< No numbers.
    JsonlFrameWrong,             ///< Greatest number.
    JsonlLineWrong,              ///< The same.
    JsonlDidWrong,               ///< The same.
    JsonlSdidWrong,              ///< The same.
    JsonlHorizontalOffsetWrong,  ///< The same.
    JsonlValueWrong,             ///< The same.
    JsonlTimescaleWrong,         ///< The same.
    JsonlTimescaleZero,          ///< No numbers.
    SccTitleMissing,             ///< No numbers.
    SccTimecodeWrong,            ///< No numbers.
    SccPairWrong,                ///< Character of the line at which it begins, counted from 1.
    SccTimecodeEarlier,  ///< Line whose timecode is later; four bytes of the timecode from which on the pairs are sent,
                         ///< as a number, and 8000'0000h in drop-frame counting.
    SccTimecodeOverlaps,  ///< Line whose pairs are not through; the same.
    // streams, files of frames (more)
    RowLayoutWrong = 0x1F'0141,  ///< Pixels of a row, rows of a frame.
    StreamPairPacketCut,         ///< Bytes of a CEA-608 packet, bytes that it needs.
    SccTimecodeOfRateWrong,      ///< Frames that the timecodes of a second count.
    SccParityWrong,              ///< Character of the line at which the pair begins, counted from 1.
    SccPairLate,                 ///< Pairs of the frame that go out with later ones.
    SccTripletsLeftOut,          ///< Triplets of the frame that are of another field or of a caption service.
    SccBehindMidnight,           ///< Number of the frame.
    SccTooManyPairs,             ///< As many pairs may wait.
    MccTitleMissing,             ///< No numbers.
    MccRateMissing,              ///< No numbers; no header line says what the timecodes count.
    MccRateWrong,                ///< No numbers; what it says is none of those that there are.
    MccRateTaken,                ///< Frames of a second that the timecodes count, and that are taken as they are.
    MccRateOfCdpOther,           ///< Frames of 1000 s of a CDP (29970), those that timecodes are taken to count.
    MccRateGivenOther,           ///< Frames of 1000 s that the caller has given, and that are not taken.
    MccTimecodeWrong,            ///< Frames that the timecodes of a second count.
    MccTimecodeEarlier,      ///< Four bytes of the timecode before as a number, and 8000'0000h in drop-frame counting.
    MccCharacterWrong,       ///< Character of the line, counted from 1.
    MccPacketCut,            ///< Bytes there, bytes of the packet.
    MccChecksumWrong,        ///< Checksum there, checksum of the packet.
    MccBytesLeft,            ///< Bytes behind the packet.
    StreamLineLeftOut,       ///< Line number of a packet.
    StreamPacketLeftOut,     ///< DID, SDID of a packet of which the form carries nothing.
    KlvFilePackageTooGreat,  ///< Packets of the element, those in front of it in the frame.

    // streams: what a form does not carry, though the rest is read or written
    StreamCaptionsLeftOut = 0x1F'0181,  ///< Triplets that are in no packet.
    StreamChannelLeftOut,               ///< Number of the channel (qlx::anc::Channel): it becomes luma.
    StreamHorizontalOffsetLeftOut,      ///< Words in front of the packet; those of the packets in front of it.
    StreamWrappingLeftOut,              ///< Number of the wrapping type (qlx::anc::Wrapping).
    StreamWordBitsLeftOut,              ///< User data words whose upper two bits are not those of their bytes.
    StreamTeletextLeftOut,              ///< Teletext lines that are in no packet, or have no place.

    // streams: coded video
    StreamCaptionsUnused = 0x1F'0201,  ///< Triplets of a message that says that they are not to be used.
    StreamScte20Unused,  ///< Pairs by SCTE 20 of the first picture that has them beside captions by ATSC A/53.

    // streams: containers
    ContainerLibraryMissing = 0x1F'0211,  ///< No numbers; what is missing is in FrameReader::takeLibraryTexts().
    ContainerNotReadable,                 ///< No numbers; the library's words are in the same place.
    ContainerStreamsUnknown,              ///< The same.
    ContainerTooMuchMemory,     ///< 1 where it is opened, 2 where its streams are told, 3 where packets are read.
    ContainerWithoutTracks,     ///< No numbers.
    ContainerWithoutFrames,     ///< No numbers.
    ContainerRestLost,          ///< No numbers; the library's words are in FrameReader::takeLibraryTexts().
    ContainerIndexBehindMedia,  ///< No numbers; of a pipe.
    ContainerTimesCounted,      ///< No numbers; times are those of the edit rate, from 0.
    ContainerPacketStray,       ///< Bytes that belong to no packet (ISO/IEC 13818-1).
    ContainerTripletStray,      ///< Bytes that belong to no triplet (SMPTE ST 336).
    ContainerStraysLeftOut,     ///< Such places that are not told one by one.
    ContainerPacketCut,         ///< Bytes there, bytes of the packet.
    ContainerPacketHeaderCut,   ///< Bytes there.
    ContainerTripletCut,        ///< Bytes there, bytes of the triplet.
    ContainerTripletHeaderCut,  ///< Bytes there.
    ContainerSampleDamaged,     ///< No numbers; the offset is near it.
    ContainerSampleCut,         ///< No numbers; the offset is its end.
    ContainerUnitsWrong,        ///< No numbers; the lengths of its NAL units do not fit into the sample.
    ContainerGap,               ///< Bytes without a packet of what is read.
    ContainerAtomMissing,       ///< Bytes of a caption sample without a ccdp, cdat or cdt2 atom.
    ContainerDamageLeftOut,     ///< No numbers; more of the same is not told.
    // streams, text tracks; the offset is the first byte of the sample
    TextSampleWrong = 0x1F'0261,  ///< Bytes of the sample, of which something is passed over.
    TextSamplePartsLost,          ///< How many parts of the sample mean nothing here.
    TextSampleEndMissing,         ///< No numbers; it lasts five seconds.
    TextTrackUnreadable,          ///< The track, counted from 1.
    TextTrackHeadUnread,   ///< No numbers; edit list, styles and regions of a track: damaged, or too far in a pipe.
    TextSampleUnitsWrong,  ///< Byte of the sample, of how many places where UTF-16 makes no character the first one.
    /// Cues of TTML documents that are not shown while their samples are, milliseconds of the first one's start.
    TextSampleCuesOutside,
    TextCuesEditedOut,  ///< Cues that the edit list of the file leaves out.

    // streams: the index of a container
    MxfFooterMissing = 0x1F'0241,  ///< Byte at which the footer should be; the offset is the file's end.
    MxfNotFinished,                ///< No numbers; the same.
    MxfFooterMoved,                ///< No numbers; the offset is where the footer should be.
    MovIndexMissing,               ///< No numbers; the offset is the file's end, as in the next ones.
    MovIndexCut,                   ///< Bytes there, bytes of the index.
    MovMediaCut,                   ///< Bytes there, bytes of the media data.
    MovFragmentCut,                ///< Bytes there, bytes of the fragment.
    MovFragmentListCut,            ///< Bytes there, bytes of the fragments' list.
    MovAtomWrong,                  ///< No numbers; the offset is where an atom should begin.

    // streams: transport streams (ISO/IEC 13818-1); the offset is where the packet stands
    TsPacketWrong = 0x1F'0301,  ///< Byte in place of the sync byte, bytes there.
    TsSyncLost,                 ///< Bytes that belong to no packet.
    TsAdaptationWrong,          ///< Length of the adaptation field there, greatest one.
    TsContinuityLost,           ///< PID, packets that are missing at least.
    TsPacketDamaged,            ///< PID; the packet says that it is.
    TsPacketScrambled,          ///< PID.
    TsSectionCut,               ///< PID, bytes there.
    TsSectionCrcWrong,          ///< PID, table_id.
    TsSectionTooLong,           ///< PID, bytes that it would have.
    TsSectionWrong,             ///< PID, byte of its packet that the pointer leads to.
    TsTableWrong,               ///< table_id, byte of the section.
    TsStreamGone,               ///< PID, stream_type; the program's map has it no more.
    TsPesWrong,                 ///< Bytes there.
    TsPesCut,                   ///< Bytes there, bytes of it.
    TsPesTooLong,               ///< Bytes there, greatest number.
    TsTimeMissing,              ///< PID.
    TsTimeJumped,               ///< PID, ticks of 90 kHz from the time before.
    TsDataIdentifierUnknown,    ///< PID, data_identifier.
    TsDataUnitWrong,            ///< data_unit_id, bytes there.
    TsDataUnitUnused,           ///< data_unit_id, PID; told once for each.
    TsTeletextLeftOut,          ///< PID.
    TsPidWrong,                 ///< PID that is reserved, or is there twice.
    TsFrameRateWrong,           ///< Frames a second; transport streams with teletext have 25 or 50.
    TsBitrateTooLow,            ///< Bits a second, ticks of 90 kHz that a packet is late.
    TsTimeOfClock,              ///< PID; the time is that of the program's clock where the data stand.
    TsMorePacketsLeftOut,       ///< PID, packets that are damaged or scrambled behind one that has been told.
    TsTooManyPages,             ///< Pages, greatest number that a teletext descriptor names.
    TsMapMissing,               ///< PID; found by its data, where there is no program's map.
    TsGuessDropped,             ///< PID that was found by its data; maps that come later do not have it.

    // streams: splice information in transport streams (ANSI/SCTE 35); the offset is where the packet stands
    SpliceNotRegistered = 0x1F'0341,  ///< program_number; it has such a stream, and no registration descriptor CUEI.
    // playout; the rows of a cue are counted from 1
    PlayoutTimeWrong = 0xD'0001,  ///< 1 for the start, 2 for the end.
    PlayoutRowBroken,             ///< Row of the cue, characters of it in front of those that go on the next row.
    PlayoutRowLeftOut,            ///< Row of the cue, characters of it that are left out.
    PlayoutBoldLeftOut,           ///< Row of the cue, characters of it that are not bold.
    PlayoutRowMoved,              ///< Row of the cue, its number, which is not below that of the row in front of it.
    PlayoutPageFull = 0xD'0101,   ///< Row of the cue, characters of it that are left out.
    PlayoutCueMoved,              ///< First row on the page that it should have, the one that it has.
    PlayoutCueLeftOut,            ///< First row on the page that it should have; something else stands there.
    PlayoutOrderWrong,            ///< Frame of its start, that of the one in front of it; left out.
    PlayoutRateUnusual,           ///< Frames a second.
    PlayoutPageRowMoved,          ///< Row of the page that the cue names, the one on which its text stands.

    // streams, timed text in XML (W3C TTML2); the offset is the number of a line, counted from 1
    TtmlNotWellFormed = 0x1F'0401,  ///< Byte of the text, counted from 0.
    TtmlNotTtml,                    ///< Bytes of the name of the outermost element.
    TtmlDocumentType,               ///< Bytes of a document type with a part of its own.
    TtmlTooDeep,                    ///< Most elements within each other.
    TtmlTooLong,                    ///< Bytes there, most bytes.
    TtmlTextNotUtf8,                ///< How many bytes are none.
    TtmlTimeWrong,                  ///< 1 for begin, 2 for end, 3 for dur; bytes of the value, which is passed over.
    TtmlTimesOfDay,                 ///< No numbers; the times are those of a clock.
    TtmlEndMissing,                 ///< Milliseconds of the start, of the end that is taken.
    TtmlNeverShown,                 ///< Milliseconds of the start, of the end.
    TtmlTimesTooMany,               ///< Times at which a paragraph changes, most of them.
    TtmlParameterWrong,             ///< Bytes of a value of the document's parameters, which is passed over.
    TtmlStyleUnknown,               ///< Bytes of its name.
    TtmlStyleCircular,              ///< Bytes of its name.
    TtmlValueWrong,                 ///< Bytes of a style's value, which is passed over.
    TtmlRegionUnknown,              ///< Bytes of its name.
    TtmlImageLeftOut = 0x1F'0412,   ///< No numbers.
    TtmlDataLeftOut,                ///< Bytes of the data, as they are written.
    TtmlElementLeftOut,             ///< Bytes of its name.
    TtmlAttributesLeftOut,          ///< How many attributes of unknown namespaces, or of spans, the file has.
    TtmlHidden,                     ///< No numbers; a paragraph or span that is not displayed.
    TtmlStyleChainTooLong,          ///< Bytes of the name of a style that is referred to by way of too many others.
    TtmlAnimationLeftOut,           ///< No numbers; what its element says holds for good. `animate`, or too many sets.
    TtmlTooManyElements,            ///< Bytes that elements and attributes would take in memory, most of them.
    TtmlParagraphTooLong,           ///< Most parts of a paragraph, texts and line ends, that are read.
    TtmlRegionNone,                 ///< How many regions there are, none of which a paragraph is in.
    TtmlTimeMetricMissing,          ///< 1 for begin, 2 for end, 3 for dur; milliseconds: a bare number is of seconds.
    TtmlTimeLabelNone,              ///< The same, milliseconds: of a label that is left out, the next frame's.
    // streams, TTML that is written; the offset is the cue, counted from 1
    TtmlCharacterReplaced = 0x1F'0441,  ///< Row, its characters that XML has no form for.

    // facade
    VancPacketNumberTooGreat = 0x20'0001,  ///< Number there, greatest one.
};

}  // namespace qlx
