#pragma once

#include <scsi/sg.h>

#include <string>

namespace sys {

/// Why a SCSI command failed that the driver has carried out, in words with the numbers behind them: "Not Ready,
/// Logical unit is in process of becoming ready (2/04/01)", where the numbers are sense key, ASC and ASCQ.
std::string whyFailed(const sg_io_hdr& header);

} // namespace sys
