#include "simulator/recorder.h"

#include "simulator/boundary.h"
#include "simulator/kernel.h"
#include "simulator/requests.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>

namespace simulator {

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

/// Is `path` of a family that is walked node by node? A /dev/sd node is opened only in place of an sg node.
bool isWalked(std::string_view path) {
    const std::string_view family = path.substr(0, 7);
    return family == "/dev/sg" || family == "/dev/hd";
}

} // namespace

void recorder::opened(std::string_view path, int fd, int error) {
    const bool refused = fd < 0 && (error == EACCES || error == EPERM);
    if ((fd >= 0 || refused) && isWalked(path))
        refused_[std::string(path)] = refused;
    if (!keepsAnswers_ || !isNodePath(path))
        return;
    if (fd < 0 && error == ENOENT && !keepsTexts_)
        return; // a simulated machine has no other nodes than those recorded
    const std::string name(path);
    machine_.nodes[name].open.add({0, fd >= 0 ? 0 : error});
    if (fd >= 0)
        open_[fd] = name;
}

void recorder::closed(int fd) { open_.erase(fd); }

machine recorder::walkedAgain(machine rest) const {
    rest.modprobe = machine_.modprobe;
    rest.nodes = machine_.nodes;
    for (auto& [path, node] : rest.nodes) {
        node.inquiry.keepLast();
        node.serialPage.keepLast();
    }
    return rest;
}

nodeCount recorder::nodes() const {
    nodeCount count;
    for (const auto& [path, refused] : refused_) {
        ++count.present;
        count.refused += refused ? 1 : 0;
    }
    return count;
}

void recorder::answered(int fd, unsigned long request, const void* argument, int result, int error) {
    const auto found = open_.find(fd);
    if (found == open_.end())
        return;
    node& node = machine_.nodes[found->second];
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

void recorder::ran(const std::string& command, int status) {
    const shellCommand known = commandOf(command);
    if (keepsAnswers_ && known.kind == shellCommand::modprobe)
        machine_.modprobe.add(status == 0 ? 0 : std::max(1, WEXITSTATUS(status)));
    if (keepsTexts_ && known.kind == shellCommand::usbQuery)
        machine_.usbListing = contentOf(known.file);
}

void recorder::readsOpticalTable() {
    if (keepsTexts_ && std::ifstream(opticalTablePath).is_open())
        machine_.opticalTable = contentOf(opticalTablePath);
}

} // namespace simulator
