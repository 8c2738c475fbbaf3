#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sys {

using bytes = std::vector<unsigned char>;

/// What a request is answered with, in turn; the last answer repeats.
template <typename T>
class answerList {
public:
    answerList() = default;
    answerList(T only) : list_{std::move(only)} {}
    answerList(std::vector<T> list) : list_(std::move(list)) {}

    bool empty() const { return list_.empty(); }
    const std::vector<T>& all() const { return list_; }
    std::vector<T>& all() { return list_; }

    void add(T answer) { list_.push_back(std::move(answer)); }

    /// Leaves the last answer only.
    void keepLast() {
        if (!list_.empty())
            list_.erase(list_.begin(), list_.end() - 1);
    }

    /// The next answer. There must be one.
    const T& next() { return list_[position_ + 1 < list_.size() ? position_++ : position_]; }

    /// The next answer is the first one again.
    void rewind() { position_ = 0; }

private:
    std::vector<T> list_;
    std::size_t position_ = 0;
};

/// A request that answers with a number, or fails with `error`.
struct numberAnswer {
    int value = 0;
    int error = 0; ///< errno; 0: the request succeeds
};

/// Opening a node.
struct openAnswer {
    int error = 0; ///< errno; 0: the node opens
};

/// SG_GET_SCSI_ID.
struct addressAnswer {
    int host = 0, channel = 0, target = 0, lun = 0;
    int type = 0;  ///< peripheral device type
    int error = 0; ///< errno; 0: the request succeeds
};

/// One SG_IO request: an errno, or what the device sent and what the driver reports (scsi/sg.h).
struct scsiAnswer {
    int error = 0; ///< errno; 0: the request succeeds
    bytes data;
    bytes sense;
    unsigned char status = 0; ///< SCSI status byte
    unsigned char maskedStatus = 0;
    unsigned short hostStatus = 0;
    unsigned short driverStatus = 0;
    unsigned info = 0;
    std::optional<int> residual; ///< none: as much as the data leaves of the buffer
};

/// Calls `visit` with the name and the value of each number that the driver reports beside data and sense.
template <typename ScsiAnswer, typename Visit>
void eachStatus(ScsiAnswer& answer, Visit visit) {
    visit("status", answer.status);
    visit("maskedStatus", answer.maskedStatus);
    visit("hostStatus", answer.hostStatus);
    visit("driverStatus", answer.driverStatus);
    visit("info", answer.info);
}

/// One HDIO request: an errno, or what the drive sent.
struct driveAnswer {
    int error = 0; ///< errno; 0: the request succeeds
    bytes data;
};

/// What the kernel and its device manager know of the device behind a node, without asking it. Texts are without outer
/// blanks; what is not known is empty.
struct kernelWords {
    static constexpr int largestType = 31;                 // five bits of the INQUIRY answer
    static constexpr std::int64_t largestSize = INT64_MAX; // of the kernel's loff_t

    bool knowsNames = false; ///< it tells the names, even if there are none
    std::vector<std::string>
        names;           ///< of its block, tape and changer nodes, without /dev/: "sda", "st0", "sr0", "sch0"
    std::string address; ///< "HOST:CHANNEL:TARGET:LUN"
    std::string adapter; ///< the driver of its host adapter, and the adapter's PCI address: "ahci 0000:00:1f.2"
    std::string wwid;    ///< "naa.5000c500a1b2c3d4"
    std::string vendor, model, revision;
    std::string serial;                ///< serial number, as lsblk shows it
    std::optional<std::uint64_t> size; ///< bytes, of a block device
    std::optional<int> type;           ///< peripheral device type

    bool empty() const { return *this == kernelWords(); }
    bool operator==(const kernelWords& other) const {
        return knowsNames == other.knowsNames && names == other.names && address == other.address &&
               adapter == other.adapter && wwid == other.wwid && vendor == other.vendor && model == other.model &&
               revision == other.revision && serial == other.serial && size == other.size && type == other.type;
    }
};

/// Calls `visit` with the name and the value of each text. All code that reads, writes or changes these texts walks
/// this list.
template <typename KernelWords, typename Visit>
void eachKernelText(KernelWords& known, Visit visit) {
    visit("address", known.address);
    visit("adapter", known.adapter);
    visit("wwid", known.wwid);
    visit("vendor", known.vendor);
    visit("model", known.model);
    visit("revision", known.revision);
    visit("serial", known.serial);
}

/// How much of it is wanted: the names; these and the size; or everything. Each takes longer than the one before.
enum class kernelDetail { names, sizes, all };

/// By the path of the node. A node of which the kernel knows nothing has no entry.
using kernelWordMap = std::map<std::string, kernelWords>;

/// One device node. A request for which there are no answers is refused as a node of its family refuses it.
struct node {
    kernelWords knownAs;         ///< of an sg or hd node
    answerList<openAnswer> open; ///< none: opens
    answerList<numberAnswer> sgVersion;
    answerList<numberAnswer> emulated;
    answerList<addressAnswer> address;
    answerList<scsiAnswer> inquiry;             ///< standard INQUIRY
    answerList<scsiAnswer> serialPage;          ///< INQUIRY, unit serial number page (0x80)
    answerList<driveAnswer> identify;           ///< IDENTIFY DEVICE through HDIO_DRIVE_CMD: 512 bytes
    answerList<driveAnswer> task;               ///< HDIO_DRIVE_TASK: the seven returned registers
    answerList<numberAnswer> opticalCapability; ///< CDROM_GET_CAPABILITY
};

/// Calls `visit` with the name and the answers of each request to a node. All code that reads, writes or makes answers
/// walks this list: a new request is added here and to requests.cpp.
template <typename Node, typename Visit>
void eachAnswer(Node& node, Visit visit) {
    visit("open", node.open);
    visit("sgVersion", node.sgVersion);
    visit("emulated", node.emulated);
    visit("address", node.address);
    visit("inquiry", node.inquiry);
    visit("serialPage", node.serialPage);
    visit("identify", node.identify);
    visit("task", node.task);
    visit("opticalCapability", node.opticalCapability);
}

/// The kinds of virtual devices that a management controller presents, by their numbers.
enum virtualDeviceKind { virtualDisk, virtualOpticalDrive };
constexpr virtualDeviceKind virtualDeviceKinds[] = {virtualDisk, virtualOpticalDrive};

/// Names of virtual devices, for each kind.
using virtualDeviceLists = std::array<std::vector<std::string>, std::size(virtualDeviceKinds)>;

/// A machine as its kernel, its shell commands and its management controller show it.
struct machineAnswers {
    std::string name = "simulated";
    answerList<int> modprobe;                ///< exit status of any modprobe command; none: 0
    std::string usbListing;                  ///< what the USB query writes into its file
    std::optional<std::string> opticalTable; ///< /proc/sys/dev/cdrom/info; none: there is no such file
    virtualDeviceLists virtualDevices;
    bool hasScsiDevices = true; ///< does the kernel have any, so that their driver is missed where it does not load?
    std::string collected;      ///< when the answers were taken: "2026-11-23T17:01:02Z"; empty: nobody knows
    std::map<std::string, node> nodes; ///< by path
};

} // namespace sys
