#include <qlx/base/finding.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <string_view>

namespace qlx {

namespace {

struct Text {
    FindingCode code;
    std::string_view pattern;  ///< `{1}` and `{2}`: the numbers; `{1x}`, `{2u}`, `{1p}`, `{2t}`: in hexadecimal,
                               ///< without a sign, as a place of a caption, as a time code; `{1s}`: `s` unless it is 1.
};

using enum FindingCode;

constexpr Text kTexts[] = {
    {None, "nothing"},
    {OutputTooSmall, "{1} bytes do not fit into {2}"},
    {AncChecksumWrong, "checksum {1x}, but {2x} is right"},
    {AncHeaderParityWrong, "header word {1x} with wrong parity, {2x} is right"},
    {AncChecksumNotCarried, "no checksum: byte {1x} in its place, {2x} would be right"},
    {AncPacketCut, "packet of {1} words, of which {2} are on the row"},
    {AncPacketNotContiguous, "packet at sample {1}, {2} would be right"},
    {AncFlagInsidePacket, "flag inside a damaged packet: no packet of {1} words with a right checksum"},
    {AncRowTooShort, "row of {2} bytes, {1} are needed"},
    {AncPacketDoesNotFit, "packets of {1} words do not fit: {2} are free"},
    {AncTooManyUserDataWords, "{1} user data words, a packet has at most {2}"},
    {AncPacketDropped, "packet {1x}/{2x} is left out: it counts the frames of the old rate"},
    {AncPayloadCut, "packet of {2} bytes, {1} are needed"},
    {AncElementCut, "element cut short: {2} of {1} byte{1s}"},
    {AncElementCountWrong, "packet count {1}, but {2} are there"},
    {AncElementTrailingBytes, "{1} bytes behind the last of {2} packets"},
    {AncElementWrappingUnknown, "unknown wrapping type {1x}"},
    {AncElementCodingUnknown, "sample coding {1} is none of packets"},
    {AncElementParityError, "sample coding {1}: a word had wrong parity"},
    {AncElementSampleCountWrong, "sample count {1}, but {2} is right"},
    {AncElementArrayLengthWrong, "array elements of {1} bytes, not {2}"},
    {AncElementArrayTooShort, "{1} samples, of which {2} are there"},
    {AncElementSpareBitsSet, "bits set that belong to no sample: {1x}"},
    {AncElementTooManyPackets, "{1} packets, an element has at most {2}"},
    {AncElementLineTooGreat, "line {1}, the greatest is {2}"},
    {AncElementPaddingUncounted, "{1} bytes of padding behind an array of {2} bytes, which does not count them"},
    {AtomCut, "atom header of {2} bytes, {1} are needed"},
    {AtomContentCut, "atom of {1} bytes, of which {2} are there"},
    {AtomTypeUnknown, "atom of unknown type {1x}, {2} bytes"},
    {AtomPairHalf, "{1} bytes of byte pairs"},
    {AtomSizeWrong, "atom of {1} bytes, the least is {2}"},
    {CdpTooShort, "caption packet of {2} bytes, {1} are needed"},
    {CdpIdentifierWrong, "identifier {1x} in place of {2x}"},
    {CdpLengthWrong, "length {1} in a caption packet of {2} bytes"},
    {CdpChecksumWrong, "caption packet checksum {1x}, but {2x} is right"},
    {CdpFrameRateUnknown, "unknown frame rate code {1}"},
    {CdpFlagsContradictSections, "flags {1x}, but the sections say {2x}"},
    {CdpCountUnlikeRate, "{1} triplets, the frame rate has {2}"},
    {CdpCountWrong, "{1} triplets announced, {2} are there"},
    {CdpCounterUnlikeFooter, "counter {1}, but {2} in the footer"},
    {CdpCounterJumped, "counter {1} where {2} was expected"},
    {CdpSectionCut, "section {1x} is cut: {2} bytes are there"},
    {CdpSectionOutOfOrder, "section {1x} behind section {2x}"},
    {CdpSectionRepeated, "section {1x} once more, {2} bytes"},
    {CdpSectionUnknown, "unknown section {1x} of {2} bytes"},
    {CdpFooterMissing, "no footer"},
    {CdpBytesBehindFooter, "{1} bytes behind the footer"},
    {CdpReservedBitsWrong, "reserved bits: {1x}, should be {2x}"},
    {CdpTimeCodeInvalid, "impossible time code {1x}"},
    {CdpServiceCountWrong, "{1} services announced, {2} are there"},
    {CdpServiceNumberContradicts, "service {1}, but {2} in its descriptor"},
    {CdpTooManyTriplets, "{1} triplets, a caption packet has at most {2}"},
    {CdpTooManyServices, "{1} services, a caption packet has at most {2}"},
    {CdpTooLong, "{1} bytes, a caption packet has at most {2}"},
    {RateFrameOutOfOrder, "frame {1} behind frame {2}, taken as part of it"},
    {RateUnlikePacket, "caption packet marked with frame rate code {1} in frames of code {2}"},
    {RateTooManyStreams, "captions of line {1} are left out: captions stand in {2} other places already"},
    {RateFramesMissing, "{2} frames in front of frame {1} are missing: they have no packets"},
    {RateTimeCodeImpossible, "time code {1x} is left out: it is none at frame rate code {2}"},
    {RateSentLate, "triplet of cc_type {1} sent {2} ms behind its time"},
    {RateWaitsAtEnd, "triplets of cc_type {1} behind the last frame: {2}"},
    {RateSectionDoesNotFit, "section {1x} of {2} bytes is left out: the packets of the new rate have no room for it"},
    {UserDataTooShort, "user data of {2} bytes, {1} are needed"},
    {UserDataUnlikeCaptions, "no captions: byte {1x} in place of {2x}"},
    {UserDataCut, "{1} triplets announced, {2} are there"},
    {UserDataMarkerBitsWrong, "marker bits: {1x}, should be {2x}"},
    {UserDataMarkerBitsMissing, "no marker bits behind the triplets"},
    {UserDataBytesBehind, "{1} bytes behind the captions"},
    {Cea608CaptionEmpty, "caption without text is left out"},
    {Cea608TimesWrong,
     "caption from frame {1} to {2} is left out: it has no duration, begins before the last one, or is too far off"},
    {Cea608CaptionOverlaps, "caption begins at frame {1}, before the one in front of it ends at {2}"},
    {Cea608RowMoved, "text of {1p} is shown at {2p}"},
    {Cea608RowBroken, "row is broken at {1p}, {2} spaces are left out"},
    {Cea608RowCut, "row is cut: {2} columns from {1p} on are left out"},
    {Cea608RowLeftOut, "{2} columns from {1p} on are left out: the caption has its four rows"},
    {Cea608CharacterReplaced, "character {1x} is sent as {2x}"},
    {Cea608ColorReplaced, "colour {1x} is sent as {2x}"},
    {Cea608ColorLate, "{2} columns from {1p} on keep the colour before them"},
    {Cea608ItalicsLate, "{2} columns from {1p} on keep or lose their italics"},
    {Cea608UnderlineLate, "{2} columns from {1p} on keep or lose their underline"},
    {Cea608BackgroundLate, "{2} columns from {1p} on keep the background before them"},
    {Cea608BackgroundEarly, "{2} columns from {1p} on have the background behind them"},
    {Cea608FlashLeftOut, "{2} columns from {1p} on do not flash"},
    {Cea608ShownLate, "caption is shown {1} frames late, {2} pairs short"},
    {Cea608EndLate, "caption ends {1} frames late"},
    {Cea608OpacityLeftOut, "{2} columns from {1p} on have solid letters"},
    {Cea608TextLeftOut, "{2} columns from {1p} on are sent as spaces: concealed, or second halves of letters"},
    {StreamReadFailed, "cannot be read (error {1})"},
    {StreamWriteFailed, "cannot be written (error {1})"},
    {StreamLibraryRemark, "damaged, as the library that takes it apart says"},
    {Cea608ParityWrong, "wrong parity in pair {1x}"},
    {Cea608NoParity, "no parity bit in {1} pairs"},
    {Cea608CodeUnknown, "code {1x} has no meaning"},
    {Cea608BegunInside, "text at {1p} begins inside a caption: it is taken as one that is being loaded"},
    {Cea608BackgroundMoved, "background code at {1p} takes no column"},
    {Cea608ColumnFull, "letter at {1p} takes the place of {2x}"},
    {Cea608XdsChecksumWrong, "extended data: checksum {1x}, but {2x} is right"},
    {Cea608XdsDamaged, "extended data: packet {1x} of {2} bytes is damaged"},
    {Cea608XdsTooLong, "extended data: packet {1x} has more than {2} bytes"},
    {Cea608XdsCut, "extended data: packet {1x} of {2} bytes has no end"},
    {Cea608XdsNotBegun, "extended data: packet without a beginning (codes {1x} {2x})"},
    {Cea608XdsValueWrong, "extended data: {2} bytes are none of packet {1x}"},
    {Cea608XdsTextCut, "extended data: text of {1} characters, {2} are sent"},
    {Cea608XdsNotCarried, "extended data: a number has no room in its packet (value {1})"},
    {Cea608XdsLeftOut, "extended data: packet {1x} of {2} bytes cannot be sent"},
    {StreamLibraryRemark, "not everything can be read"},
    {StreamEmpty, "the file is empty"},
    {StreamKindWithoutFrames, "files of this kind have no frames with packets or captions"},
    {StreamMoreFindings, "{1} more finding{1s} in the frame"},
    {RowFileRowCut, "the last row is cut short: {1} of {2} byte{2s}"},
    {RowFileFrameCut, "the last frame is cut short: {1} of {2} row{2s}"},
    {RowFileLineMissing, "there is no row for the packet of line {1}"},
    {RowFileChannelsMixed, "packets of the multiplex have no place beside those of luma or chroma"},
    {KlvFileKeyMissing, "no SMPTE key (06 0E 2B 34 ...): this is no KLV file"},
    {KlvFileFrameMissing, "the file ends without an ANC frame element"},
    {TextLineTooLong, "the line is longer than {1} MiB"},
    {JsonlNotJson, "not JSON at character {1}"},
    {JsonlCut, "not JSON: the text ends too early"},
    {JsonlTooDeep, "JSON nested deeper than {1} levels"},
    {JsonlNoFrame, "no frame: an object with \"frame\" and \"packets\" is expected"},
    {JsonlPacketWrong, "a packet must be an object"},
    {JsonlPtsWrong, "\"pts\" must be an object"},
    {JsonlCaptionsWrong, "\"captions\" must be an object"},
    {JsonlChannelWrong, "\"channel\" must be \"luma\", \"chroma\" or \"multiplex\""},
    {JsonlDataWrong, "\"data\" must be pairs of hexadecimal digits"},
    {JsonlFrameWrong, "\"frame\" must be a whole number, at most {1}"},
    {JsonlLineWrong, "\"line\" must be a whole number, at most {1}"},
    {JsonlDidWrong, "\"did\" must be a whole number, at most {1}"},
    {JsonlSdidWrong, "\"sdid\" must be a whole number, at most {1}"},
    {JsonlHorizontalOffsetWrong, "\"horizontalOffset\" must be a whole number, at most {1}"},
    {JsonlValueWrong, "\"value\" must be a whole number, at most {1}"},
    {JsonlTimescaleWrong, "\"timescale\" must be a whole number, at most {1}"},
    {JsonlTimescaleZero, "\"timescale\" must be above 0"},
    {SccTitleMissing, "no Scenarist caption file: \"Scenarist_SCC V1.0\" is expected"},
    {SccTimecodeWrong, "no timecode of 29.97 frames a second at the line's beginning"},
    {SccPairWrong, "a byte pair must be four hexadecimal digits, at character {1}"},
    {SccTimecodeEarlier, "the timecode is earlier than that of line {1}: the line's pairs follow those, from {2t} on"},
    {SccTimecodeOverlaps,
     "the timecode comes before the pairs of line {1} are through: the line's pairs follow those, from {2t} on"},
    {RowLayoutWrong, "no file has rows of {1} pixel{1s} and {2} row{2s} a frame"},
    {StreamPairPacketCut, "CEA-608 packet of {1} byte{1s}, a pair needs {2}"},
    {StreamCaptionsLeftOut, "{1} triplet{1s} in no packet left out"},
    {StreamChannelLeftOut, "packet of another channel written as luma"},
    {StreamHorizontalOffsetLeftOut, "horizontal offset {1} left out, the packets in front of it end at {2}"},
    {StreamWrappingLeftOut, "wrapping type {1x} left out"},
    {StreamWordBitsLeftOut, "{1} user data word{1s} of ten bits: the upper two left out"},
    {StreamCaptionsUnused, "{1} triplet{1s} that are not meant to be used"},
    {ContainerLibraryMissing, "FFmpeg's libraries are needed, which are not there"},
    {ContainerNotReadable, "cannot be read: the file is cut short or damaged"},
    {ContainerStreamsUnknown, "the streams cannot be told: the file is cut short or damaged"},
    {ContainerTooMuchMemory, "a piece that takes too much memory"},
    {ContainerWithoutTracks, "no H.264 or MPEG-2 video, caption track or ANC track in it"},
    {ContainerWithoutFrames, "no frame in it"},
    {ContainerRestLost, "the rest cannot be read"},
    {ContainerIndexBehindMedia, "the index (moov) stands behind the media data, which a pipe does not give again: the "
                                "file must be named, not piped"},
    {ContainerTimesCounted, "times are counted from 0 at the file's edit rate"},
    {ContainerPacketStray, "not part of any packet: {1} byte{1s}"},
    {ContainerTripletStray, "not part of any triplet: {1} byte{1s}"},
    {ContainerStraysLeftOut, "{1} more place{1s} like this"},
    {ContainerPacketCut, "the last packet is cut short: {1} of {2} byte{2s}"},
    {ContainerPacketHeaderCut, "the last packet is cut short: {1} byte{1s}"},
    {ContainerTripletCut, "the last triplet is cut short: {1} of {2} byte{2s}"},
    {ContainerTripletHeaderCut, "the last triplet is cut short: {1} byte{1s}"},
    {ContainerSampleDamaged, "a damaged or cut sample"},
    {ContainerSampleCut, "a damaged or cut sample ends here"},
    {ContainerUnitsWrong, "a damaged sample: its NAL units do not fit into it"},
    {ContainerGap, "no picture that can be read in {1} byte{1s}"},
    {ContainerAtomMissing, "caption sample of {1} byte{1s} without a caption atom (ccdp, cdat, cdt2)"},
    {ContainerDamageLeftOut, "more damage behind this is not listed"},
    {MxfFooterMissing, "the file is cut short: its footer with the index, at byte {1}, is missing"},
    {MxfNotFinished, "the file has not been finished, or is cut short: its footer with the index is missing"},
    {MxfFooterMoved, "the file is damaged: its footer with the index should stand here, and does not"},
    {MovIndexMissing, "the index (moov) is missing: the file is cut short, or its recording has not been finished"},
    {MovIndexCut, "the file is cut short: {1} of {2} byte{2s} of the index (moov) are there"},
    {MovMediaCut, "the file is cut short: {1} of {2} byte{2s} of the media data (mdat) are there"},
    {MovFragmentCut, "the file is cut short: {1} of {2} byte{2s} of the fragment (moof) are there"},
    {MovFragmentListCut, "the file is cut short: {1} of {2} byte{2s} of the fragments' list (mfra) are there"},
    {MovAtomWrong, "the file is damaged: an atom should begin here, and does not; what follows cannot be read"},
    {PlayoutTimeWrong, "time {1} of 2 is none that a frame has"},
    {PlayoutRowBroken, "row {1} is broken behind {2} characters"},
    {PlayoutRowLeftOut, "row {1}: {2} characters are left out, the caption has its four rows"},
    {PlayoutBoldLeftOut, "row {1}: {2} characters are not bold"},
    {VancPacketNumberTooGreat, "{1} where {2} is the greatest"},
    {KlvKeyWrong, "no key begins with {1x}"},
    {KlvLengthIndefinite, "triplet of indefinite length (80), which has no end"},
    {KlvLengthTooLong, "length of {1} bytes (at most {2} are possible)"},
    {KlvLengthTooGreat, "length {1u}, the greatest for this key is {2}"},
    {KlvLengthLeadsNowhere, "length {1u} leads to no other triplet"},
    {KlvSkipped, "{1} bytes skipped"},
    {KlvCut, "KLV triplet cut short: {2} of {1} byte{1s} of key and length"},
    {KlvValueCut, "KLV triplet cut short: {2u} of {1u} byte{1s} of the value"},
    {KlvLengthDoesNotFit, "length {1u} does not fit into {2} bytes"},
    {KlvValueHoldsTriplets, "length {1u}, but a triplet at byte {2u} leads on"},
    {MxfPartitionTooShort, "partition pack of {2} bytes, {1} are needed"},
    {MxfListCut, "{1} items announced, {2} are there"},
    {MxfListItemLengthWrong, "items of {1} bytes, not {2}"},
    {MxfTrailingBytes, "{1} bytes behind the last field"},
    {Cea708DataOutsidePacket, "caption data {1x} outside of a packet"},
    {Cea708PacketLost, "packet number {1} where {2} was expected"},
    {Cea708PacketCut, "packet of {1} bytes, of which {2} are there"},
    {Cea708BytesBehindPacket, "{1} bytes behind the packet"},
    {Cea708BlockCut, "service block of {1} bytes, of which {2} are there"},
    {Cea708BytesBehindNullBlock, "{1} bytes behind the last service block"},
    {Cea708ServiceWrong, "no such service: {1}, in a block of {2} bytes"},
    {Cea708ReservedBitsWrong, "reserved bits: {1x}, should be {2x}"},
    {Cea708BlockTooLong, "{1} bytes, a service block has at most {2}"},
    {Cea708PacketFull, "service block of {1} bytes, {2} are free"},
    {Cea708CommandCut, "command of {1} bytes, of which {2} are there"},
    {Cea708CommandUnknown, "unknown command {1x} of {2} bytes"},
    {Cea708NumberUndefined, "command {1x}: {2} is not defined"},
    {Cea708ValueTooGreat, "{1} does not fit: at most {2}"},
    {Cea708CommandsDropped, "{1} bytes of a command are dropped: its rest is lost"},
    {Cea708CharacterUnknown, "unknown character {1x}"},
    {Cea708NoCurrentWindow, "no window for command or text {1x}"},
    {Cea708WindowUndefined, "window {1} is not defined"},
    {Cea708WindowTooLarge, "window of {1} rows or columns, {2} is the most"},
    {Cea708WindowOutside, "window outside of the screen: {1}, {2} would be right"},
    {Cea708LocationOutside, "no row or column {1} in the window, {2} is the last"},
    {Cea708RowFull, "character {1x} does not fit into a row of {2} columns"},
    {Cea708DelayFull, "delay ended {2} ms early: {1} bytes wait"},
    {TeletextPacketSizeWrong, "{1} bytes are no teletext packet, which has {2}"},
    {TeletextRunInWrong, "clock run-in {1x} in place of {2x}"},
    {TeletextFramingCodeWrong, "framing code {1x} in place of {2x}"},
    {TeletextByteCorrected, "coded byte {1x} put right to {2x}"},
    {TeletextByteWrong, "damaged coded byte {1x}"},
    {TeletextTripletCorrected, "triplet {1x} put right to {2x}"},
    {TeletextTripletWrong, "damaged triplet {1x}"},
    {TeletextNotThatPacket, "teletext packet {1} in place of {2}"},
    {TeletextFieldTooGreat, "{1} does not fit into a teletext packet, {2} is the greatest"},
    {SdpTooShort, "subtitling packet of {2} bytes, {1} are needed"},
    {SdpIdentifierWrong, "subtitling packet identifier {1x} in place of {2x}"},
    {SdpFormatUnknown, "format {1x} is not teletext, {2x}"},
    {SdpLengthWrong, "length {1} in a subtitling packet of {2} bytes"},
    {SdpDescriptorUnused, "descriptor {1} is unused, and another follows"},
    {SdpLineCut, "{1} teletext packets announced, {2} are there"},
    {SdpFooterMissing, "no footer: {1x} in place of its identifier"},
    {SdpFooterCut, "footer of {1} bytes, {2} are needed"},
    {SdpChecksumWrong, "subtitling packet checksum {1x}, but {2x} is right"},
    {SdpBytesBehindFooter, "{1} bytes behind the subtitling packet"},
    {SdpCounterJumped, "subtitling packet counter {1} where {2} was expected"},
    {TeletextCharacterReplaced, "character {1x} is shown as {2x}"},
    {TeletextCharacterMissing, "the character set has no character {1x}, {2x} stands in its place"},
    {TeletextMarkLeftOut, "character {1x} is left out: no letter takes it"},
    {TeletextOrderLost, "from the screen the row reads otherwise from character {1} of {2} on"},
    {TeletextPlacementLeftOut, "no room in packets X/26 for the character of row {1}, column {2}"},
    {TeletextRowLeftOut, "{2} columns of row {1} are left out: there is no such row, or it has text already"},
    {TeletextRowMoved, "text of row {1} is moved to column {2}"},
    {TeletextRowCut, "row {1} is cut: {2} columns are left out"},
    {TeletextBoxesJoined, "row {1}: the gap at column {2} is too small to show the picture"},
    {TeletextColorKept, "row {1}: the colour does not change at column {2}, there is no space in front"},
    {TeletextColorChanged, "row {1}: {2} letters have the nearest colour of teletext"},
    {TeletextStyleLeftOut, "row {1}: {2} cells are not italic, underlined, flashing or coloured behind the letters"},
    {TeletextCharacterMissing, "character {1x} is sent as {2x}"},
    {TeletextPageNotCallable, "page {1x} with subcode {2x} is left out: viewers cannot call it"},
    {TeletextTimesWrong, "text from frame {1} to {2} is left out: it has no duration, or begins before the last one"},
    {TeletextPageEmpty, "text without letters is left out"},
    {TeletextPageLate, "text of frame {1} is complete {2} frames late"},
    {TeletextEraseLate, "text that ends at frame {1} stays {2} frames more"},
    {TeletextPageLeftOut, "text from frame {1} to {2} is left out: there was no room for it before its end"},
    {ScteMessageMarkWrong, "message begins with {1x}, not with {2x}"},
    {ScteMessageCut, "message of {2} bytes, {1} are needed"},
    {ScteMessageSizeWrong, "messageSize {1} in a message of {2} bytes"},
    {ScteOperationsMissing, "{1} operations announced, {2} are there"},
    {ScteOperationCut, "operation of {1} bytes, {2} are there"},
    {ScteOperationTooShort, "{2} bytes are too few for operation {1x}"},
    {ScteOperationUnknown, "unknown operation {1x} of {2} bytes"},
    {ScteBytesBehindOperation, "{2} bytes behind the fields of operation {1x}"},
    {ScteBytesBehindMessage, "{1} bytes behind the last operation"},
    {ScteNumberWrong, "number {1} is not defined, the greatest is {2}"},
    {ScteValueTooLarge, "{1} does not fit: at most {2}"},
    {ScteTooLong, "{1} bytes, at most {2} are allowed"},
    {ScteReservedBitsWrong, "reserved bits: {1x}, should be {2x}"},
    {SctePacketEmpty, "packet without a payload descriptor"},
    {SctePacketVersionUnknown, "payload descriptor {1x} of another version, {2x} is known"},
    {SctePacketDescriptorReserved, "payload descriptor {1x}, should be {2x}"},
    {SctePieceMissing, "a piece of the message is missing at payload descriptor {1x}: {2} bytes are left out"},
    {ScteTableIdWrong, "table_id {1x} in place of {2x}"},
    {ScteSectionCut, "section of {2} bytes, {1} are needed"},
    {ScteSectionTooLong, "section_length {1}, at most {2} is allowed"},
    {ScteSectionCrcWrong, "section CRC {1x}, but {2x} is right"},
    {ScteSectionEncrypted, "encrypted section (algorithm {1}): {2} bytes are kept as they are"},
    {ScteBytesBehindSection, "{1} bytes behind the section"},
    {ScteCommandLengthWrong, "splice_command_length {1}, but the command has {2} bytes"},
    {ScteCommandTooShort, "{2} bytes are too few for splice command {1x}"},
    {ScteCommandUnknown, "unknown splice command {1x} of {2} bytes"},
    {ScteBytesBehindCommand, "{2} bytes behind the fields of splice command {1x}"},
    {ScteDescriptorLoopCut, "descriptor_loop_length {1}, {2} bytes are there"},
    {ScteDescriptorCut, "descriptor {1x} is cut: {2} bytes are there"},
    {ScteDescriptorTooShort, "{2} bytes are too few for descriptor {1x}"},
    {ScteBytesBehindDescriptor, "{2} bytes behind the fields of descriptor {1x}"},
    {ScteSubSegmentsUnexpected, "sub-segments in segmentation type {1x}, which has none"},
    {ScteTextWrong, "character {1x} is neither hexadecimal nor base64 in its place ({2} characters)"},
    {ScteMakesNoSection, "operation {1x} makes no section"},
    {ScteSupplementAlone, "operation {1x} adds to another one, which is not there"},
    {ScteMomentMissing, "time stamp of type {1}: its moment in the stream is not known"},
    {ScteRateMissing, "{1} extension frames: the frame rate is not known"},
    {SctePreRollIgnored, "pre-roll of {1} ms is ignored: the splice is immediate"},
    {ScteBreakDurationIgnored, "break duration of {1} tenths of a second is ignored: no break starts"},
    {ScteSpliceIsImmediate, "splice of type {1} without pre-roll is immediate"},
    {ScteComponentsMissing, "operation {1x} names no component: the splice stays one of the whole program"},
    {ScteScheduleReplaced, "schedule of {1} events is left out: another one begins before it is transmitted"},
    {ScteScheduleCancelled, "schedule of {1} events is cancelled, and makes no section"},
    {ScteMessageEmpty, "message without operations makes no section"},
    {ScteProtocolVersionUnknown, "protocol_version {1}, {2} is known"},
    {ScteSectionIndicatorSet, "section_syntax_indicator and private_indicator should be 0 (set: {1})"},
    {ScteDescriptorTooLong, "descriptor_length {1}, at most {2} is allowed"},
    {ScteUpidLengthWrong, "UPID of type {1x} and {2} bytes, which such a one does not have"},
    {ScteMakesNoOperation, "encrypted section (algorithm {1}): no operation asks for it"},
    {SctePreRollOutOfRange, "splice {1} ms behind the frame: a pre-roll has 0 to {2}"},
    {SctePreRollRounded, "splice {1} ticks behind the frame: the pre-roll has {2}, whole milliseconds"},
    {ScteDurationRounded, "duration of {1} ticks: {2} are kept"},
    {ScteNotCarried, "fields without a place in SCTE 104 are left out (1 section, 2 command, 3 event: {1})"},
    {SubtitleTextNotUtf8, "byte {1x} is not UTF-8 ({2} such bytes in the row)"},
    {SrtNumberWrong, "no number in front of the times"},
    {SrtTimingMissing, "cue without a line of times"},
    {SrtTimingWrong, "no line of times"},
    {SrtTimeWrong, "time {1} of 2 cannot be read"},
    {SrtTimeUnusual, "time {1} of 2 has another form than usual: read as {2} ms"},
    {SrtEndNotLater, "the end, {2} ms, is not later than the start, {1} ms"},
    {SrtBytesBehindTimes, "{1} bytes behind the times"},
    {SrtTimingInsideCue, "line of times inside a cue"},
    {SrtCueTooLong, "cue of more than {1} bytes or {2} lines"},
    {SrtNumberTooGreat, "number of a cue that is too great: it is read as {1}"},
    {SrtRowWrong, "no row in a value of {1} bytes"},
    {SrtColorUnknown, "no colour in a value of {2} bytes: it is read as colour {1} of teletext"},
    {StlTooShort, "information block of {2} bytes, {1} are needed"},
    {StlDiskFormatUnknown, "unknown disk format code {1x}"},
    {StlFieldUnknown, "unknown code {1x} in a field of {2} characters"},
    {StlNumberWrong, "character {1x} in a number of {2} digits"},
    {StlTimeCodeWrong, "impossible time code {1x} ({2} frames in a second)"},
    {StlBlockCountWrong, "{1} blocks announced, {2} are there"},
    {StlBlockCut, "block of {1} bytes, of which {2} are there"},
    {StlExtensionNumberReserved, "reserved extension block number {1x}"},
    {StlStatusUnknown, "unknown cumulative status {1}, the greatest is {2}"},
    {StlJustificationUnknown, "unknown justification code {1}, the greatest is {2}"},
    {StlCommentFlagUnknown, "unknown comment flag {1}, the greatest is {2}"},
    {StlEndNotLater, "time code out {2x} is not later than time code in {1x}"},
    {StlTextUnended, "text without an end mark: {1} characters behind its last line break are left out"},
    {StlCodesPassed, "code {1x} is passed over ({2} such codes in the text)"},
    {StlStylesPassed, "italics, underline or box (code {1x}) is passed over ({2} such codes in the text)"},
    {StlRowsOffPage, "vertical position {1}: {2} rows of text have no place on a teletext page"},
    {StlTableNotRead, "the text is in character code table {1}: it is read as Latin, table 0"},
    {SubtitleValueNotDictionary, "no dictionary"},
    {SubtitleValueNoLines, "no lines of text"},
    {SubtitleValueTimeMissing, "time {1} of 2 is missing"},
    {SubtitleValueTimeWrong, "time {1} of 2 is none"},
    {SubtitleValueTimeUnusual, "time {1} of 2 has another form than usual: read as {2} ms"},
    {SubtitleValueTimeRounded, "time {1} of 2 is rounded"},
    {SubtitleValueEndNotLater, "the end, {2} ms, is not later than the start, {1} ms"},
    {SubtitleValueNumberWrong, "number of a cue that is none"},
    {SubtitleValueLineWrong, "line {1} is no dictionary"},
    {SubtitleValueTextMissing, "line {1} has no text"},
    {SubtitleValueColorWrong, "line {1} has a colour that is none: it is read as colour {2} of teletext"},
    {SubtitleValueAlignmentWrong, "line {1} has an alignment that is none: it is read as {2}"},
    {SubtitleValueRowWrong, "line {1} has a row that is none: it is read as {2}"},
    {SubtitleValueStylesLost, "line {1} loses the style of {2} runs"},
    {SubtitleValueAnchorLost, "line {1} loses its place {2} in the cue"},
    {SubtitleTimeEmptied, "a cue shorter than 1/{2} s is written with that length"},
    {SubtitleTimeNegative, "the cue lies before the beginning: from {1} to {2}"},
    {SubtitleTextAmbiguous, "text of row {1} that is read as something else"},
    {SubtitleStylesLost, "row {1}: styles of {2} parts are lost"},
    {SubtitleColorChanged, "row {1}: colours of {2} parts become others"},
    {SubtitlePlaceLost, "the place is lost (row {1})"},
    {SubtitlePropertiesLost, "row {1}: {2} properties are lost"},
    {SubtitleRunTimeLost, "row {1}: {2} parts appear with the whole cue"},
    {SubtitleNameLost, "a name of {1} bytes is lost"},
    {SubRipEntities, "{1} entities in the row are read as the characters that they name"},
    {SubRipTagUnknown, "unknown tag of {1} bytes: it stays in the text"},
    {SubRipTagWithoutStart, "end of a tag ({1} bytes) that is not open"},
    {SubRipTagUnclosed, "{1} tags are not closed"},
    {SubRipTextInFront, "{1} bytes of text in front of the first times are left out"},
    {SubRipEmptyRow, "{1} empty rows inside of a cue"},
    {WebVttSignatureMissing, "the first line is not WEBVTT"},
    {WebVttTimingWrong, "no line of times"},
    {WebVttTimeUnusual, "time {1} of 2 has another form than usual: read as {2} ms"},
    {WebVttEndNotLater, "the end, {2} ms, is not later than the start, {1} ms"},
    {WebVttSettingWrong, "a setting of {1} bytes that is none is passed over"},
    {WebVttSettingInRegion, "a setting of {1} bytes that has no effect in a region is passed over"},
    {WebVttRegionUnknown, "no region has the name of {1} bytes"},
    {WebVttTagWrong, "a tag of {1} bytes that is none here is passed over"},
    {WebVttTagUnclosed, "{1} tags are not closed"},
    {WebVttEntityUnknown, "{1} ampersands begin no entity"},
    {WebVttInnerTimeWrong,
     "the time inside of the cue, {1} ms, is not later than what is in front of it, or not within it"},
    {WebVttBlockPassed, "a block of {1} lines that is no cue is passed over"},
    {WebVttTextTooLong, "cue of more than {1} bytes or {2} lines"},
    {VideoUnitTooShort, "{2} bytes, {1} are needed"},
    {VideoConfigurationWrong, "configuration record of version {1}, not {2}"},
    {VideoParametersWrong, "parameter set of type {1} with {2} bytes cannot be used"},
    {VideoLengthCut, "{2} bytes at the end are no unit behind a length of {1} bytes"},
    {VideoUnitCut, "unit of {1} bytes, of which {2} are there"},
    {VideoUnitEmpty, "empty unit"},
    {VideoSeiReferenced, "SEI unit with nal_ref_idc {1}, not {2}"},
    {VideoSeiCut, "SEI message of {1} bytes, of which {2} are there"},
    {VideoSeiTrailingBits, "no trailing bits behind the last SEI message"},
    {VideoStartCodeMissing, "no start code in {1} bytes"},
    {VideoSystemStartCode, "start code {1x} of a transport or program stream"},
    {VideoUnitTooLong, "access unit of {1} bytes and more, at most {2} are read"},
    {Line21FormatUnknown, "unknown pixel format {1x}"},
    {Line21RowTooShort, "row of {2} bytes, {1} are needed"},
    {Line21RowTooNarrow, "row of {2} pixels, {1} are needed"},
    {Line21RowCut, "{2} of {1} bits are in the row"},
    {Line21RunInMissing, "no clock run-in"},
    {Line21StartBitsMissing, "no start bits behind the clock run-in"},
    {Line21ParityWrong, "byte {2} of the pair with wrong parity: {1x}"},
};

/// The same where the first number is the identifier of a caption packet's section, and no cc_type, which has two bits.
constexpr Text kSectionTexts[] = {
    {RateSentLate, "section {1x} sent {2} ms behind its time"},
    {RateWaitsAtEnd, "sections {1x} behind the last frame: {2}"},
};
constexpr std::int64_t kGreatestCcType = 3;

/// Null where there is none.
const Text* textOf(std::span<const Text> texts, FindingCode code) noexcept {
    const auto entry = std::find_if(texts.begin(), texts.end(), [code](const Text& one) { return one.code == code; });
    return entry == texts.end() ? nullptr : &*entry;
}

/// Writes the four bytes of a time code; the highest bit is set in drop-frame counting.
void appendTimeCode(std::string& text, std::int64_t bytes) {
    constexpr std::int64_t kDropFrame = 0x8000'0000;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const std::int64_t number = (bytes & ~kDropFrame) >> shift & 0xFF;
        text += number < 10 ? "0" : "";
        text += std::to_string(number);
        if (shift > 0) {
            text += shift == 8 && (bytes & kDropFrame) != 0 ? ';' : ':';
        }
    }
}

/// Writes a number in place of a placeholder such as `{2x}`, which ends with `form`.
void appendNumber(std::string& text, std::int64_t number, char form) {
    if (form == 's') {
        text += number == 1 ? "" : "s";
        return;
    }
    if (form == 't') {
        appendTimeCode(text, number);
        return;
    }
    if (form == 'p') {
        constexpr std::int64_t kColumns = 1000;
        text += "row " + std::to_string(number / kColumns) + ", column " + std::to_string(number % kColumns);
        return;
    }
    std::array<char, 24> digits{};
    char* const end = digits.data() + digits.size();
    const bool isHex = form == 'x';
    const bool hasSign = !isHex && form != 'u';
    const auto result = hasSign
                            ? std::to_chars(digits.data(), end, number)
                            : std::to_chars(digits.data(), end, static_cast<std::uint64_t>(number), isHex ? 16 : 10);
    const std::string_view written(digits.data(), static_cast<std::size_t>(result.ptr - digits.data()));
    // A byte has two digits.
    if (isHex && written.size() == 1) {
        text += '0';
    }
    text += written;
}

}  // namespace

std::string Finding::text() const {
    const Text* entry = first > kGreatestCcType ? textOf(kSectionTexts, code) : nullptr;
    if (entry == nullptr) {
        entry = textOf(kTexts, code);
    }
    if (entry == nullptr) {
        return "finding " + std::to_string(static_cast<std::uint32_t>(code));
    }
    std::string text;
    const std::string_view pattern = entry->pattern;
    for (std::size_t index = 0; index < pattern.size(); ++index) {
        if (pattern[index] != '{') {
            text += pattern[index];
            continue;
        }
        const std::size_t close = pattern.find('}', index);
        appendNumber(text, pattern[index + 1] == '1' ? first : second, pattern[close - 1]);
        index = close;
    }
    return text;
}

}  // namespace qlx
