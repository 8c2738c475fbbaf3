#include "system/watchedmachine.h"

#include "system/boundary.h"
#include "system/failures.h"
#include "text/forms.h"

#include <boost/algorithm/string.hpp>
#include <linux/cdrom.h>
#include <linux/hdreg.h>
#include <scsi/sg.h>
#include <sys/wait.h>

#include <cerrno>
#include <utility>

namespace sys {

namespace {

constexpr unsigned char inquiryOpcode = 0x12;
constexpr int firstSgIoVersion = 30000; // of the sg driver: 3.0.0
// Standard INQUIRY data (SPC-4, 6.4.2) and IDENTIFY DEVICE data (ACS-3, 7.12, words 27 to 46).
constexpr std::size_t vendorOffset = 8, productOffset = 16, revisionOffset = 32;
constexpr std::size_t registerBytes = 4, modelOffset = 54, modelSize = 40;

/// Is it asked for the words of the sg node before it?
bool isSubstitute(const std::string& path) { return boost::starts_with(path, "/dev/sd"); }

bool isBetter(const visit& one, const visit& other) {
    return (one.error == 0 && one.identified) && !(other.error == 0 && other.identified);
}

/// The text up to its first zero byte.
std::string textAt(const unsigned char* data, std::size_t begin, std::size_t end) {
    const std::string text(data + begin, data + end);
    return text.substr(0, text.find('\0'));
}

/// The model of an IDENTIFY DEVICE answer without the blanks that pad it.
std::string modelOf(const unsigned char* answer) {
    std::string model(answer + modelOffset, answer + modelOffset + modelSize);
    for (std::size_t i = 0; i + 1 < model.size(); i += 2)
        std::swap(model[i], model[i + 1]);
    return boost::trim_copy_if(model, [](char c) { return c == ' ' || c == '\0'; });
}

/// Notes what a standard INQUIRY answer says.
void noteInquiry(const sg_io_hdr& header, visit& node) {
    const auto* const data = static_cast<const unsigned char*>(header.dxferp);
    if (header.dxfer_len < revisionOffset || data == nullptr)
        return;
    const std::string vendor = textAt(data, vendorOffset, productOffset);
    const std::string product = textAt(data, productOffset, revisionOffset);
    if (vendor.empty()) {
        node.failure = "INQUIRY: no vendor";
        return;
    }
    node.identified = node.inquired = true;
    node.peripheralByte = data[0];
    node.blankProduct = (product.empty() ? vendor : product).find_first_not_of(" \t") == std::string::npos;
}

/// Of a node that is not SCSI the plug-in takes no notice of the answer to INQUIRY.
void noteScsiCommand(const sg_io_hdr& header, const std::string& error, visit& node) {
    const bool isStandardInquiry = header.cmdp[0] == inquiryOpcode && header.cmdp[1] == 0;
    if (!isStandardInquiry || !boost::starts_with(node.path, "/dev/sg"))
        return;
    if (!error.empty())
        node.failure = "INQUIRY: " + error;
    else if ((header.info & SG_INFO_OK_MASK) == SG_INFO_CHECK)
        node.failure = "INQUIRY: " + whyFailed(header);
    else
        noteInquiry(header, node);
}

void noteDriveCommand(const unsigned char* registers, const std::string& error, const std::string& substitute,
                      visit& node) {
    if (error.empty()) {
        node.identified = node.hasOwnWords = true;
        node.model = modelOf(registers + registerBytes);
        node.askedAt = substitute;
    } else if (!substitute.empty()) {
        node.askedInVain = substitute + ": IDENTIFY DEVICE: " + error;
    } else if (!boost::starts_with(node.path, "/dev/sg") || node.failure.empty()) {
        node.failure = "IDENTIFY DEVICE: " + error; // what an sg node says to SCSI commands tells more
    }
}

} // namespace

void watchedMachine::begin(const std::string& step) const {
    if (step_ && !step.empty())
        step_(step);
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

serviceAnswer watchedMachine::spawn(const std::vector<std::string>& command, std::chrono::seconds limit) {
    serviceAnswer answer = layer::spawn(command, limit);
    if (!answer.failure.empty() && hasOpticalTable()) {
        unread_.push_back("the optical-drive table could not be read (" + boost::join(command, " ") + ": " +
                          answer.failure + ')');
    }
    return answer;
}

serviceAnswer watchedMachine::captureFile(const std::string& path) {
    serviceAnswer answer = layer::captureFile(path);
    if (!answer.failure.empty())
        unread_.push_back("the USB listing could not be read (" + path + ": " + answer.failure + ')');
    return answer;
}

void watchedMachine::opened(const std::string& path, int error) {
    if ((boost::starts_with(path, "/dev/sg") || boost::starts_with(path, "/dev/hd")) && !isAbsent(error)) {
        // The plug-in opens a node a second time when its driver does not answer at first: that is the same visit.
        if (visits_.size() == walk_ || visits_.back().path != path)
            visits_.emplace_back().path = path;
        visits_.back().error = error;
        if (error == 0)
            begin(path);
    } else if (isSubstitute(path) && error != 0 && !visits_.empty()) {
        visits_.back().askedInVain =
            path + (isAbsent(error) ? " is not there" : " could not be opened (" + text::errorName(error) + ')');
    }
}

void watchedMachine::asked(const std::string& path, unsigned long request, const void* argument, int /*result*/,
                           int error) {
    if (visits_.empty())
        return;
    visit& node = visits_.back();
    const std::string substitute = isSubstitute(path) ? path : "";
    const std::string why = error != 0 ? text::errorName(error) : "";
    switch (request) {
    case SG_GET_VERSION_NUM:
        if (error != 0)
            node.failure = "SG_GET_VERSION_NUM: " + why;
        else if (const int version = *static_cast<const int*>(argument); version < firstSgIoVersion)
            node.failure = "its driver is too old: " + std::to_string(version);
        break;
    case SG_IO:
        noteScsiCommand(*static_cast<const sg_io_hdr*>(argument), why, node);
        break;
    case CDROM_GET_CAPABILITY:
        if (error == 0 && substitute.empty())
            node.identified = true;
        else if (error == 0)
            node.askedInVain = substitute + " is an optical drive";
        break;
    case HDIO_DRIVE_CMD:
        noteDriveCommand(static_cast<const unsigned char*>(argument), why, substitute, node);
        break;
    default:
        break;
    }
}

std::vector<visit> watchedMachine::nodes() const {
    std::vector<visit> nodes;
    std::map<std::string, std::size_t> places;
    for (const auto& each : visits_) {
        const auto [place, isNew] = places.try_emplace(each.path, nodes.size());
        if (isNew)
            nodes.push_back(each);
        else if (isBetter(nodes[place->second], each))
            nodes[place->second] = each;
    }
    return nodes;
}

} // namespace sys
