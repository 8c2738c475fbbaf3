#pragma once

#include "system/machineanswers.h"

#include <cstddef>
#include <string>

namespace sys {

/// Register bytes of HDIO_DRIVE_TASK (linux/hdreg.h), before and after.
constexpr std::size_t taskBytes = 7;

/// The result of a request: a value, or an errno.
struct requestResult {
    int value = 0;
    int error = 0; ///< 0: the request succeeds
};

/// Answers the ioctl `request` on a node as its driver would (scsi/sg.h, linux/hdreg.h, linux/cdrom.h), with the
/// data in `argument`. Refuses requests and SCSI commands that it does not know as a driver or a device would.
requestResult answerRequest(const std::string& path, node& asked, unsigned long request, void* argument);

/// The list of a node's answers to a SCSI command, or null if machine files have none for that command.
answerList<scsiAnswer>* scsiAnswersOf(node& asked, const unsigned char* cdb);

/// The request's name and what it asks, for the list of calls: "SG_IO 12 00 00 00 24 00 length 36".
std::string requestText(unsigned long request, const void* argument);

} // namespace sys
