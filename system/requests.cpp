#include "system/requests.h"

#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

namespace sys {

namespace {

constexpr unsigned char inquiryOpcode = 0x12;
constexpr unsigned char supportedPagesPage = 0x00;
constexpr unsigned char serialNumberPage = 0x80;
constexpr unsigned char identifyOpcode = 0xEC;
constexpr std::size_t sectorSize = 512;
constexpr std::size_t registerBytes = 4; // before the data of HDIO_DRIVE_CMD

/// A CHECK CONDITION with the sense key ILLEGAL REQUEST.
scsiAnswer illegalRequest(unsigned char additionalSenseCode) {
    scsiAnswer refusal;
    refusal.sense = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, additionalSenseCode, 0, 0, 0, 0, 0};
    refusal.status = checkCondition;
    refusal.maskedStatus = checkCondition >> 1;
    refusal.driverStatus = driverSense;
    refusal.info = SG_INFO_CHECK;
    return refusal;
}

constexpr unsigned char invalidOpcode = 0x20;
constexpr unsigned char invalidField = 0x24;

/// The page that lists the vital product data pages (SPC-4, 7.8.13).
scsiAnswer supportedPages(const node& asked) {
    scsiAnswer page;
    page.data = {0, supportedPagesPage, 0, 1, supportedPagesPage};
    if (!asked.serialPage.empty()) {
        page.data[3] = 2;
        page.data.push_back(serialNumberPage);
    }
    return page;
}

bool asksForPage(const unsigned char* cdb, unsigned char page) { return cdb[1] == 1 && cdb[2] == page; }

std::size_t allocationLength(const unsigned char* inquiryCdb) {
    return static_cast<std::size_t>(inquiryCdb[3]) << 8 | inquiryCdb[4];
}

/// Puts an answer where the request wants it.
int deliver(const scsiAnswer& reply, sg_io_hdr& header) {
    if (reply.error != 0)
        return fail(reply.error);

    std::size_t sent = std::min<std::size_t>(reply.data.size(), header.dxfer_len);
    if (header.cmdp[0] == inquiryOpcode)
        sent = std::min(sent, allocationLength(header.cmdp));
    if (header.dxferp != nullptr)
        std::copy_n(reply.data.begin(), sent, static_cast<unsigned char*>(header.dxferp));
    const std::size_t senseSent = std::min<std::size_t>(reply.sense.size(), header.mx_sb_len);
    if (header.sbp != nullptr)
        std::copy_n(reply.sense.begin(), senseSent, header.sbp);
    header.sb_len_wr = static_cast<unsigned char>(senseSent);
    header.resid = reply.residual.value_or(static_cast<int>(header.dxfer_len - sent));
    header.status = reply.status;
    header.masked_status = reply.maskedStatus;
    header.host_status = reply.hostStatus;
    header.driver_status = reply.driverStatus;
    header.info = reply.info;
    return 0;
}

/// The other way round: what a request has brought. Keeps the whole data buffer, however much of it the device filled:
/// the program may look at all of it.
scsiAnswer broughtBy(const sg_io_hdr& header) {
    const auto* const data = static_cast<const unsigned char*>(header.dxferp);
    scsiAnswer answer;
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

/// The list of a node's answers to a SCSI command, or null if machine files have none for that command.
answerList<scsiAnswer>* scsiAnswersOf(node& asked, const unsigned char* cdb) {
    if (cdb[0] != inquiryOpcode)
        return nullptr;
    if (cdb[1] == 0)
        return &asked.inquiry;
    return asksForPage(cdb, serialNumberPage) ? &asked.serialPage : nullptr;
}

int sendScsiCommand(node& asked, sg_io_hdr& header) {
    const unsigned char* const cdb = header.cmdp;
    if (header.interface_id != 'S')
        return fail(ENOSYS);
    if (cdb == nullptr || header.cmd_len < 6)
        return fail(EMSGSIZE);
    if (header.iovec_count != 0)
        return fail(EINVAL); // an answer goes into one buffer only
    if (auto* const own = scsiAnswersOf(asked, cdb); own != nullptr && !own->empty())
        return deliver(own->next(), header);
    if (cdb[0] != inquiryOpcode)
        return deliver(illegalRequest(invalidOpcode), header);
    return deliver(asksForPage(cdb, supportedPagesPage) ? supportedPages(asked) : illegalRequest(invalidField), header);
}

/// The next answer to a request, given by `deliver` if it is no error.
template <typename Answer, typename Deliver>
int answerNext(answerList<Answer>& replies, int refusal, Deliver deliver) {
    if (replies.empty())
        return fail(refusal);
    const Answer& reply = replies.next();
    return reply.error != 0 ? fail(reply.error) : deliver(reply);
}

int sendDriveCommand(answerList<driveAnswer>& replies, unsigned char* target, std::size_t room, int refusal) {
    return answerNext(replies, refusal, [=](const driveAnswer& reply) {
        const std::size_t sent = std::min(reply.data.size(), room);
        std::fill(std::copy_n(reply.data.begin(), sent, target), target + room, 0); // a drive fills all of it
        return 0;
    });
}

/// For a request that writes a number to its argument.
int writeNumber(answerList<numberAnswer>& replies, void* target) {
    return answerNext(replies, ENOTTY, [target](const numberAnswer& reply) {
        *static_cast<int*>(target) = reply.value;
        return 0;
    });
}

int writeAddress(answerList<addressAnswer>& replies, void* target) {
    return answerNext(replies, ENOTTY, [target](const addressAnswer& reply) {
        sg_scsi_id id{};
        id.host_no = reply.host;
        id.channel = reply.channel;
        id.scsi_id = reply.target;
        id.lun = reply.lun;
        id.scsi_type = reply.type;
        *static_cast<sg_scsi_id*>(target) = id;
        return 0;
    });
}

addressAnswer addressIn(const sg_scsi_id& id) { return {id.host_no, id.channel, id.scsi_id, id.lun, id.scsi_type, 0}; }

driveAnswer dataAt(const unsigned char* bytes, std::size_t size) { return {0, {bytes, bytes + size}}; }

/// Does the request read or write what its argument points to?
bool needsAddress(unsigned long request) {
    constexpr unsigned long requests[] = {SG_GET_VERSION_NUM, SG_EMULATED_HOST, SG_GET_SCSI_ID, SG_IO,
                                          HDIO_DRIVE_CMD,     HDIO_DRIVE_TASK};
    return std::find(std::begin(requests), std::end(requests), request) != std::end(requests);
}

/// The errno of a node for a request that its driver does not know. The sg driver takes no unknown request on a
/// descriptor that is open for reading only.
int refusalOf(std::string_view path) { return path.substr(0, 7) == "/dev/sg" ? EPERM : ENOTTY; }

} // namespace

int answerRequest(const std::string& path, node& asked, unsigned long request, void* argument) {
    if (argument == nullptr && needsAddress(request))
        return fail(EFAULT);
    const int refusal = refusalOf(path);
    auto* const registers = static_cast<unsigned char*>(argument);
    switch (request) {
    case SG_GET_VERSION_NUM:
        return writeNumber(asked.sgVersion, argument);
    case SG_EMULATED_HOST:
        return writeNumber(asked.emulated, argument);
    case SG_GET_SCSI_ID:
        return writeAddress(asked.address, argument);
    case SG_IO:
        return asked.inquiry.empty() ? fail(EINVAL) : sendScsiCommand(asked, *static_cast<sg_io_hdr*>(argument));
    case CDROM_GET_CAPABILITY:
        return answerNext(asked.opticalCapability, refusal, [](const numberAnswer& reply) {
            return reply.value == -1 ? fail(EPERM) : reply.value; // what a driver's -1 is to the C library
        });
    case HDIO_DRIVE_CMD:
        return registers[0] == identifyOpcode
                   ? sendDriveCommand(asked.identify, registers + registerBytes, registers[3] * sectorSize, refusal)
                   : fail(asked.identify.empty() ? refusal : EIO);
    case HDIO_DRIVE_TASK:
        return sendDriveCommand(asked.task, registers, taskBytes, refusal);
    default:
        return fail(refusal);
    }
}

void keepAnswer(node& asked, unsigned long request, const void* argument, int result, int error) {
    const auto keep = [error](auto& answers, auto answer) {
        answer.error = error;
        answers.add(std::move(answer));
    };
    const bool failed = error != 0;
    const auto* const registers = static_cast<const unsigned char*>(argument);
    switch (request) {
    case SG_GET_VERSION_NUM:
        return keep(asked.sgVersion, failed ? numberAnswer() : numberAnswer{*static_cast<const int*>(argument)});
    case SG_EMULATED_HOST:
        return keep(asked.emulated, failed ? numberAnswer() : numberAnswer{*static_cast<const int*>(argument)});
    case SG_GET_SCSI_ID:
        return keep(asked.address, failed ? addressAnswer() : addressIn(*static_cast<const sg_scsi_id*>(argument)));
    case SG_IO: {
        const auto& header = *static_cast<const sg_io_hdr*>(argument);
        if (auto* const answers = scsiAnswersOf(asked, header.cmdp))
            keep(*answers, failed ? scsiAnswer() : broughtBy(header));
        return;
    }
    case CDROM_GET_CAPABILITY:
        return keep(asked.opticalCapability, failed ? numberAnswer() : numberAnswer{result});
    case HDIO_DRIVE_CMD:
        return keep(asked.identify, failed ? driveAnswer() : dataAt(registers + registerBytes, sectorSize));
    case HDIO_DRIVE_TASK:
        return keep(asked.task, failed ? driveAnswer() : dataAt(registers, taskBytes));
    default:
        return;
    }
}

} // namespace sys
