#include "system/recorder.h"

#include "system/boundary.h"
#include "system/kernel.h"
#include "system/requests.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <utility>

namespace sys {

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Keeps the whole data buffer, however much of it the device filled: the program may look at all of it.
scsiAnswer scsiAnswerOf(const sg_io_hdr& header, int error) {
    const auto* const data = static_cast<const unsigned char*>(header.dxferp);
    scsiAnswer answer;
    answer.error = error;
    if (error != 0)
        return answer;
    answer.data.assign(data, data + header.dxfer_len);
    answer.sense.assign(header.sbp, header.sbp + std::min(header.sb_len_wr, header.mx_sb_len));
    answer.status = header.status;
    answer.maskedStatus = header.masked_status;
    answer.hostStatus = header.host_status;
    answer.driverStatus = header.driver_status;
    answer.info = header.info;
    answer.residual = header.resid;
    return answer;
}

addressAnswer addressAnswerOf(const sg_scsi_id& id) {
    return {id.host_no, id.channel, id.scsi_id, id.lun, id.scsi_type, 0};
}

} // namespace

void recorder::sawOpen(std::string_view path, int fd, int error) {
    if (walkEnded_ || !isNodePath(path))
        return;
    nodes_.opened(path, fd, error);
    if (!keepsAnswers_)
        return;
    if (fd < 0 && error == ENOENT && !keepsTexts_ && machine_.nodes.count(std::string(path)) == 0)
        return; // a simulated machine has no other nodes than those recorded
    node& asked = machine_.nodes[std::string(path)];
    asked.open.add({fd >= 0 ? 0 : error});
    if (fd >= 0)
        open_[fd] = &asked;
}

void recorder::sawClose(int fd) {
    if (walkEnded_)
        return;
    nodes_.closed(fd);
    open_.erase(fd);
}

machineAnswers recorder::walkedAgain(machineAnswers rest) {
    walkEnded_ = true;
    open_.clear();
    rest.modprobe = machine_.modprobe;
    rest.nodes = keepsTexts_ ? machine_.nodes : std::exchange(machine_.nodes, {}); // nobody asks for them later
    for (auto& [path, node] : rest.nodes) {
        node.inquiry.keepLast();
        node.serialPage.keepLast();
    }
    return rest;
}

void recorder::sawRequest(int fd, unsigned long request, const void* argument, int result, int error) {
    if (walkEnded_)
        return;
    nodes_.asked(fd, request, argument, result, error);
    const auto found = open_.find(fd);
    if (found == open_.end())
        return;
    node& node = *found->second;
    const auto* const number = static_cast<const int*>(argument);
    const auto* const registers = static_cast<const unsigned char*>(argument);
    const auto* const header = static_cast<const sg_io_hdr*>(argument);
    const bool failed = result == -1;
    switch (request) {
    case SG_GET_VERSION_NUM:
        node.sgVersion.add(failed ? numberAnswer{0, error} : numberAnswer{*number, 0});
        break;
    case SG_EMULATED_HOST:
        node.emulated.add(failed ? numberAnswer{0, error} : numberAnswer{*number, 0});
        break;
    case SG_GET_SCSI_ID:
        node.address.add(failed ? addressAnswer{0, 0, 0, 0, 0, error}
                                : addressAnswerOf(*static_cast<const sg_scsi_id*>(argument)));
        break;
    case SG_IO:
        if (auto* answers = scsiAnswersOf(node, header->cmdp))
            answers->add(scsiAnswerOf(*header, failed ? error : 0));
        break;
    case CDROM_GET_CAPABILITY:
        node.opticalCapability.add(failed ? numberAnswer{0, error} : numberAnswer{result, 0});
        break;
    case HDIO_DRIVE_CMD:
        node.identify.add(failed ? driveAnswer{error, {}} : driveAnswer{0, {registers + 4, registers + 4 + 512}});
        break;
    case HDIO_DRIVE_TASK:
        node.task.add(failed ? driveAnswer{error, {}} : driveAnswer{0, {registers, registers + taskBytes}});
        break;
    default:
        break;
    }
}

void recorder::sawCommand(const std::string& command, int status) {
    const shellCommand known = commandOf(command);
    if (known.kind == shellCommand::modprobe && !walkEnded_) {
        if (driverStatus_.value_or(0) == 0)
            driverStatus_ = status;
        if (keepsAnswers_)
            machine_.modprobe.add(status == 0 ? 0 : std::max(1, WEXITSTATUS(status)));
    }
    if (known.kind == shellCommand::usbQuery) {
        usbStatus_ = status;
        if (keepsTexts_)
            machine_.usbListing = contentOf(known.file);
    }
}

void recorder::sawOpticalTableRead() {
    if (keepsTexts_ && std::ifstream(opticalTablePath).is_open())
        machine_.opticalTable = contentOf(opticalTablePath);
}

} // namespace sys
