// The encoders of FFmpeg that write the judges' pictures.
#pragma once

namespace qlxtest {

/// libx265 with its parameters, of which more may follow behind a colon. On threads of its own it now and then waits for
/// ever, while memory is filled with pictures of 32 by 32 that are to be encoded.
inline constexpr const char* kLibx265 = "libx265 -x265-params pools=none:frame-threads=1:log-level=none";

}  // namespace qlxtest
