#pragma once

#include "system/machine.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sys {

/// What a walk showed of a device node that is there.
struct visit {
    std::string path;
    int error = 0;                    ///< errno of opening it; 0: it opened
    bool identified = false;          ///< INQUIRY with a vendor, IDENTIFY DEVICE or CDROM_GET_CAPABILITY succeeded
    std::string failure;              ///< the request that decided that it is not, and why it failed
    bool inquired = false;            ///< INQUIRY with a vendor succeeded
    unsigned char peripheralByte = 0; ///< of INQUIRY
    bool blankProduct = false;        ///< INQUIRY's product, or the vendor in its place, is made of blanks
    bool hasOwnWords = false;         ///< IDENTIFY DEVICE succeeded
    std::string model;                ///< of IDENTIFY DEVICE, all 40 characters
    std::string askedAt;              ///< the other node at which IDENTIFY DEVICE succeeded; empty: at this one
    std::string askedInVain;          ///< why it did not succeed at another node; empty: no other one was asked
};

/// Watches what a plug-in asks the machine below. It notes which device nodes are there, which refuse to open and which
/// open but do not identify themselves, whether the driver could be loaded, and what could not be read.
///
/// A node is there when opening it succeeds or fails with another error than ENOENT, ENXIO and ENODEV. A /dev/sd node
/// is opened in place of the sg node before it and never counts on its own. Loading the driver begins a new walk, in
/// which each node has to identify itself anew.
class watchedMachine : public nodeListener {
public:
    using nodeListener::nodeListener;

    /// From now on `step` is called before everything that can take long: a node, a pause, a shell command.
    void onStep(std::function<void(const std::string& step)> step) { step_ = std::move(step); }

    unsigned sleep(unsigned seconds) override;
    int system(const char* command) override;
    serviceAnswer spawn(const std::vector<std::string>& command, std::chrono::seconds limit) override;
    serviceAnswer captureFile(const std::string& path) override;

    /// The nodes that are there, each once, in the order of the walk; of several walks the first in which it did not
    /// open or did not identify itself, else the first.
    std::vector<visit> nodes() const;

    /// The node that is being asked, or else was last: null before the first.
    const visit* latest() const { return visits_.empty() ? nullptr : &visits_.back(); }

    /// The wait status of loading the driver. If the driver was loaded several times, the first failure counts. None:
    /// nobody loaded it.
    std::optional<int> driverStatus() const { return driverStatus_; }

    /// What is there but could not be read, with the reason.
    const std::vector<std::string>& unread() const { return unread_; }

private:
    void begin(const std::string& step) const;
    void opened(const std::string& path, int error) override;
    void asked(const std::string& path, unsigned long request, const void* argument, int result, int error) override;

    std::function<void(const std::string&)> step_;
    std::vector<visit> visits_; // of all walks
    std::size_t walk_ = 0;      // where the present one begins
    std::optional<int> driverStatus_;
    std::vector<std::string> unread_;
};

} // namespace sys
