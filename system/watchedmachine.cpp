#include "system/watchedmachine.h"

#include "system/boundary.h"
#include "text/forms.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>

namespace sys {

namespace {

constexpr unsigned char inquiryOpcode = 0x12;
constexpr unsigned char checkConditionStatus = 2;

bool isOfFamily(std::string_view path, std::string_view family) { return path.substr(0, family.size()) == family; }

bool isAbsent(int error) { return error == ENOENT || error == ENXIO || error == ENODEV; }

template <typename... Numbers>
std::string formatted(const char* format, Numbers... numbers) {
    char text[64];
    std::snprintf(text, sizeof text, format, numbers...);
    return text;
}

/// Sense key, ASC and ASCQ of fixed-format or descriptor-format sense data (SPC-4, 4.5).
std::string senseText(const sg_io_hdr& header) {
    unsigned char sense[14] = {};
    std::copy_n(header.sbp, std::min<std::size_t>({sizeof sense, header.sb_len_wr, header.mx_sb_len}), sense);
    const bool descriptors = (sense[0] & 0x7E) == 0x72;
    return descriptors ? formatted("sense %x/%02x/%02x", sense[1] & 0x0F, sense[2], sense[3])
                       : formatted("sense %x/%02x/%02x", sense[2] & 0x0F, sense[12], sense[13]);
}

/// Why a command failed that the driver has carried out.
std::string statusText(const sg_io_hdr& header) {
    if (header.host_status != 0)
        return formatted("host status 0x%02x", unsigned{header.host_status});
    if (header.status == checkConditionStatus && header.sb_len_wr > 0 && header.sbp != nullptr)
        return senseText(header);
    if (header.status != 0)
        return formatted("status 0x%02x", unsigned{header.status});
    return formatted("driver status 0x%02x", unsigned{header.driver_status});
}

/// A request by which a node identifies itself, or without which it is not asked to.
struct outcome {
    const char* request = nullptr; ///< null: another request
    bool identifies = false;
    bool isAta = false;
    std::string failure; ///< "" of a success
};

outcome outcomeOf(unsigned long request, const void* argument, int result, int error) {
    const std::string why = result == -1 ? text::errorName(error) : "";
    switch (request) {
    case SG_GET_VERSION_NUM:
        return {"SG_GET_VERSION_NUM", false, false, why};
    case SG_IO: {
        const auto& header = *static_cast<const sg_io_hdr*>(argument);
        if (header.cmdp[0] != inquiryOpcode)
            return {};
        const bool failed = (header.info & SG_INFO_OK_MASK) == SG_INFO_CHECK;
        return {"INQUIRY", true, false, result == -1 ? why : failed ? statusText(header) : ""};
    }
    case CDROM_GET_CAPABILITY:
        return {"CDROM_GET_CAPABILITY", true, true, why};
    case HDIO_DRIVE_CMD:
        return {"IDENTIFY DEVICE", true, true, why};
    default:
        return {};
    }
}

} // namespace

void watchedMachine::begin(const std::string& step) const {
    if (step_ && !step.empty())
        step_(step);
}

int watchedMachine::open(const char* path, int flags, mode_t mode) {
    const int fd = layer::open(path, flags, mode);
    const int error = errno;
    if (isNodePath(path))
        opened(path, fd, error);
    errno = error;
    return fd;
}

int watchedMachine::close(int fd) {
    open_.erase(fd);
    return layer::close(fd);
}

int watchedMachine::ioctl(int fd, unsigned long request, void* argument) {
    const int result = layer::ioctl(fd, request, argument);
    const int error = errno;
    asked(fd, request, argument, result, error);
    errno = error;
    return result;
}

unsigned watchedMachine::sleep(unsigned seconds) {
    if (!visits_.empty())
        begin(visits_.back().path + ": becoming ready, waiting " + std::to_string(seconds) + " s");
    return layer::sleep(seconds);
}

int watchedMachine::system(const char* command) {
    const shellCommand known = commandOf(command);
    begin(known.purpose);
    if (known.kind == shellCommand::modprobe)
        walk_ = visits_.size();
    const int status = layer::system(command);
    if (known.kind == shellCommand::modprobe && driverStatus_.value_or(0) == 0)
        driverStatus_ = status;
    // The query ends with grep, which ends with 1 where nothing is found.
    if (known.kind == shellCommand::usbQuery && (!WIFEXITED(status) || WEXITSTATUS(status) > 1))
        unread_.emplace_back("the USB listing could not be read: virtual USB media cannot be told apart");
    return status;
}

serviceAnswer watchedMachine::spawn(const std::string& command, const std::vector<std::string>& arguments,
                                    std::chrono::seconds limit) {
    serviceAnswer answer = layer::spawn(command, arguments, limit);
    if (!answer.failure.empty() && hasOpticalTable()) {
        std::string words = command;
        for (const auto& argument : arguments)
            words += ' ' + argument;
        unread_.push_back("the optical-drive table could not be read (" + words + ": " + answer.failure + ')');
    }
    return answer;
}

serviceAnswer watchedMachine::captureFile(const std::string& path) {
    serviceAnswer answer = layer::captureFile(path);
    if (!answer.failure.empty())
        unread_.push_back("the USB listing could not be read (" + path + ": " + answer.failure + ')');
    return answer;
}

/// The plug-in opens a node a second time when its driver does not answer at first: that is still the same visit.
void watchedMachine::visited(const std::string& path, int error) {
    if (visits_.size() > walk_ && visits_.back().path == path)
        visits_.back().error = error;
    else
        visits_.push_back({path, error});
}

void watchedMachine::opened(std::string_view path, int fd, int error) {
    const bool opens = fd >= 0;
    const bool isSubstitute = isOfFamily(path, "/dev/sd");
    if ((!opens && isAbsent(error)) || !(isSubstitute || isOfFamily(path, "/dev/sg") || isOfFamily(path, "/dev/hd")))
        return;
    if (!opens || !isSubstitute)
        visited(std::string(path), opens ? 0 : error);
    if (opens && !isSubstitute)
        begin(std::string(path));
    if (opens && !visits_.empty())
        open_[fd] = {visits_.size() - 1, isSubstitute ? std::string(path) : ""};
}

void watchedMachine::asked(int fd, unsigned long request, const void* argument, int result, int error) {
    const auto found = open_.find(fd);
    if (found == open_.end())
        return;
    const outcome answer = outcomeOf(request, argument, result, error);
    if (answer.request == nullptr)
        return;
    visit& node = visits_[found->second.visit];
    if (!answer.failure.empty()) {
        // What an sg node says to SCSI requests tells more than that it does not know those of ATA.
        if (answer.isAta && node.scsiFailed && isOfFamily(node.path, "/dev/sg"))
            return;
        node.failure = answer.request + (": " + answer.failure);
        node.scsiFailed = !answer.isAta;
    } else if (answer.identifies) {
        node.identified = true;
        if (request == HDIO_DRIVE_CMD)
            node.askedAt = found->second.path;
    }
}

nodeReport watchedMachine::nodes() const {
    nodeReport report;
    std::set<std::string> present, refused, silent, detours;
    for (const auto& node : visits_) {
        present.insert(node.path);
        if (node.error != 0) {
            if (refused.insert(node.path).second)
                report.refused.push_back({node.path, text::errorName(node.error)});
        } else if (!node.identified && silent.insert(node.path).second) {
            report.silent.push_back({node.path, node.failure});
        }
        if (!node.askedAt.empty() && detours.insert(node.path).second)
            report.askedElsewhere.emplace_back(node.path, node.askedAt);
    }
    report.present = present.size();
    return report;
}

} // namespace sys
