#include "cli/RawOptions.h"
#include "commands/show/Show.h"
#include "io/Errors.h"
#include "io/Times.h"

namespace qlx::tool {

Action checkedShow(const RawOptions& raw) {
    ShowOptions options;
    options.file = raw.file;
    options.asJson = raw.asJson;
    options.source = frameSourceOptions(raw);
    if (raw.at.empty() && !raw.isAll) {
        throw UsageError("--at or --all is needed: what is on air at a time, or every change");
    }
    if (!raw.at.empty() && raw.isAll) {
        throw UsageError("--at and --all cannot be given together");
    }
    if (raw.picture && raw.isAll) {
        throw UsageError("--png is for --at only: it is one picture");
    }
    if (!raw.at.empty()) {
        options.at = raw.at;
    }
    options.output = raw.output;
    if (raw.picture) {
        options.picture = *raw.picture;
        options.pictureFormat = imageFormatFor("--png", *raw.picture);
        if (raw.output == raw.picture) {
            throw UsageError("-o and --png name the same file");
        }
    }
    if (!raw.rate.empty()) {
        options.source.rate = rateNamed(raw.rate);
    }
    options.showsExtendedData = raw.channel == "XDS" || raw.channel == "xds";
    if (!raw.channel.empty() && !options.showsExtendedData) {
        options.channel = cea608::channelNamed(raw.channel);
    }
    if (options.showsExtendedData && (raw.picture || raw.service || !raw.page.empty())) {
        throw UsageError("--channel XDS is text, and is shown alone");
    }
    if (raw.service) {
        options.service = static_cast<std::uint8_t>(*raw.service);
    } else if (raw.isSD || raw.wideEncoding) {
        throw UsageError(std::string(raw.isSD ? "--sd" : "--p16") + " is for --service only");
    }
    options.isStandardAspect = raw.isSD;
    options.wideEncoding = raw.wideEncoding.value_or(options.wideEncoding);
    options.ignoresParity = raw.ignoresParity;
    if (!raw.page.empty()) {
        options.page = teletextPageNamed(raw.page);
        if (!options.page) {
            throw UsageError("--page: \"" + raw.page + "\" is not a page (100 to 8FF)");
        }
    }
    options.region = receiverRegion(raw);
    return [options] { return show(options); };
}

}  // namespace qlx::tool
