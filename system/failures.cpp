#include "system/failures.h"

#include <scsi/sg_lib.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace sys {

namespace {

template <typename... Numbers>
std::string formatted(const char* format, Numbers... numbers) {
    char text[64];
    std::snprintf(text, sizeof text, format, numbers...);
    return text;
}

/// What the kernel's host adapter drivers report, by their numbers from 1 (scsi/scsi_status.h of the kernel).
constexpr const char* hostStatuses[] = {
    "no connection",  "bus busy",      "timed out", "bad target",           "aborted",
    "parity error",   "adapter error", "reset",     "unexpected interrupt", "passed through",
    "soft error",     "retry at once", "requeue",   "transport disrupted",  "transport failed fast",
    "target failure", "nexus failure", "no space",  "medium error",         "transport marginal"};

std::string hostStatusText(unsigned status) {
    const char* const words = status <= std::size(hostStatuses) ? hostStatuses[status - 1] : "unknown failure";
    return words + formatted(" (host status 0x%02x)", status);
}

std::string statusText(unsigned status) {
    char words[64];
    sg_get_scsi_status_str(static_cast<int>(status), sizeof words, words);
    return words + formatted(" (status 0x%02x)", status);
}

std::string senseText(const sg_scsi_sense_hdr& sense) {
    char key[64], code[256];
    sg_get_sense_key_str(sense.sense_key, sizeof key, key);
    std::string what = sg_get_asc_ascq_str(sense.asc, sense.ascq, sizeof code, code);
    const std::string label = "Additional sense: ";
    if (what.compare(0, label.size(), label) == 0)
        what.erase(0, label.size());
    return std::string(key) + ", " + what +
           formatted(" (%x/%02x/%02x)", unsigned{sense.sense_key}, unsigned{sense.asc}, unsigned{sense.ascq});
}

} // namespace

std::string whyFailed(const sg_io_hdr& header) {
    if (header.host_status != 0)
        return hostStatusText(header.host_status);
    const int sensed = std::min(header.sb_len_wr, header.mx_sb_len);
    sg_scsi_sense_hdr sense{};
    if (sensed > 0 && header.sbp != nullptr && sg_scsi_normalize_sense(header.sbp, sensed, &sense))
        return senseText(sense);
    if (header.status != 0)
        return statusText(header.status);
    return formatted("driver status 0x%02x", unsigned{header.driver_status});
}

} // namespace sys
