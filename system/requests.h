#pragma once

#include "system/machineanswers.h"

#include <cerrno>
#include <cstddef>
#include <string>

namespace sys {

constexpr unsigned char checkCondition = 2; ///< SCSI status (SAM-4)
constexpr unsigned short driverSense = 8;   ///< driver status: there is sense data (scsi/sg.h)

/// How many register bytes HDIO_DRIVE_TASK (linux/hdreg.h) takes, and how many it returns.
constexpr std::size_t taskBytes = 7;

/// Ends a call as the C library ends one that failed.
inline int fail(int error) {
    errno = error;
    return -1;
}

/// Answers the ioctl `request` on a node as its driver would (scsi/sg.h, linux/hdreg.h, linux/cdrom.h), with the
/// data in `argument`. Refuses requests and SCSI commands that it does not know as a driver or a device would. Returns
/// what the C library returns: -1 for a request that failed, with errno.
int answerRequest(const std::string& path, node& asked, unsigned long request, void* argument);

/// The other way round: adds the outcome of a request to the answers of a node. `argument` is as the driver left it;
/// `error` is the errno of a request that failed, or 0.
void keepAnswer(node& asked, unsigned long request, const void* argument, int result, int error);

} // namespace sys
