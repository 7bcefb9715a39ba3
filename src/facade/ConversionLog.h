// What the SCTE-35 conversion tells the technical log.
#pragma once

#include "facade/SCTE104Operation.h"

namespace qlx::scte {

/// Logs the splice request that is about to be converted.
void logConvertedRequest(const scte104::SpliceRequest& request);

}  // namespace qlx::scte
