// JSON: lines of results, and subtitle files. The JSON library is included by this module's source alone.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <qlx/anc/packet.h>
#include <qlx/streams/jsonl.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

/// Arrays and objects may stand in each other this deep, far more than any subtitle file needs.
inline constexpr std::size_t kDeepestJson = 64;

/// Reads a JSON text.
/// @param name What to call the file in messages.
/// @throws Failure with the line when the text is no JSON, or nested deeper than kDeepestJson.
[[nodiscard]] Value parseJson(std::string_view name, std::string_view text);

/// A value of a text that has several, and the line on which it begins, from 1.
struct JsonValue {
    std::uint64_t line = 1;
    Value value;
};

/// Reads the values of a JSON text that stand behind each other, each on one line or on many.
/// @param first The place in the text where the first of them begins.
/// @throws Failure as parseJson(), and for a key that an object has twice.
[[nodiscard]] std::vector<JsonValue> parseJsonValues(std::string_view name, std::string_view text,
                                                     std::size_t first = 0);

/// Reads a JSON text that is an array, or an object with an array under `cues`, and hands on the array's elements one
/// by one, so that a long text takes no more memory than its longest element.
/// @return False when the text is JSON, but neither of these.
/// @throws Failure as parseJson(), and when an element is larger than any subtitle (1 MiB; each value counts 64 bytes
///   beside its text).
/// @param takeMember Gets the other members of the object, each behind it; may be empty.
bool readJsonElements(std::string_view name, std::string_view text, const std::function<void(Value)>& take,
                      const std::function<void(std::string_view key, const Value& value)>& takeMember = {});

/// What scan --json says of frames beside what a reader needs. Each packet of type CEA-708 that is a CDP gets, behind its
/// data, `"cdp":{"rate":"29.97","ccCount":20,"counter":0,"triplets":[{"kind":"field 1","data":"942c"},..],
/// "lengthOk":true,"checksumOk":true}`; `rate` is null for a code without one, `ccCount` without a cc_data section; a
/// packet that contradicts itself has `"contradiction":"cc_count 20, of which 1 is there"` behind its triplets, see
/// contradictionIn(). Each packet of type SCTE104 that is a message gets `"scte104":[{"opID":257,
/// "name":"SpliceRequestData",..},..]`, its operations. Captions that are in no packet get `"triplets":[..]` as
/// those of a CDP.
class CaptionMembers final : public streams::JsonlMembers {
public:
    void appendOfPacket(std::string& text, const anc::Packet& packet) const override;
    void appendOfCaptions(std::string& text, const Data& triplets) const override;
};

/// A value as JSON without a line feed; keys in their order, byte buffers as lower-case hexadecimal digits.
[[nodiscard]] std::string jsonText(const Value& value);

/// `{"value":1,"timescale":25,"seconds":0.04}`, or null where there is no time.
[[nodiscard]] Value jsonTime(const std::optional<MediaTime>& time);

/// Marks the first line of a text that is of one line an object.
void setSchema(Dictionary& object, std::string_view schema, bool isFirst);

/// What extract marks its first line with.
inline constexpr std::string_view kCaptionDataSchema = "qlxcc/captions/1";

/// `{"unit":0,"offset":0,"data":"fc942c.."}` without a line feed; `data` is null where there is none.
/// @param isFirst Adds `"schema":"qlxcc/captions/1"`.
[[nodiscard]] std::string jsonLine(std::uint64_t unit, std::uint64_t offset, const std::optional<std::string>& data,
                                   bool isFirst);

/// `{"unit":0,"pts":{"value":0,"timescale":25,"seconds":0.0},"data":"fc942c.."}` without a line feed; `pts` and `data`
/// are null where there are none.
/// @param isFirst Adds `"schema":"qlxcc/captions/1"`.
[[nodiscard]] std::string jsonLine(std::uint64_t unit, const std::optional<MediaTime>& pts,
                                   const std::optional<std::string>& data, bool isFirst);

}  // namespace qlx::tool
