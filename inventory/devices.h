#pragma once

#include "inventory/passlog.h"
#include "minihost/memorynamespace.h"
#include "system/machine.h"
#include "system/watchedmachine.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace inventory {

/// What became of a device node that is there.
enum class deviceState {
    identified, ///< the plug-in got its words, and its pass reached the output
    excluded,   ///< identified, and left out as virtual media
    mistaken,   ///< the words that the plug-in got are those of another device
    silent,     ///< it opened and did not identify itself
    refused,    ///< it did not open
    lost,       ///< it identified itself, but an exception ended the walk before anything was written
    notAsked,   ///< it is behind the node at which the walk ended
};
constexpr std::size_t deviceStates = 7;

/// "identified", "not asked".
const char* nameOf(deviceState state);

/// Is the device's firmware tied to it?
enum class firmwareTie {
    notAskedFor, ///< no query of the run was for associations
    tied,
    anothers, ///< only that of another device is
    none,
};

/// One device node that is there, and what is known of it. Texts are without outer blanks; empty ones are not known.
struct device {
    std::string node;
    deviceState state = deviceState::identified;
    std::string why;                   ///< in words, where there is something to explain
    std::string error;                 ///< the name of the errno of a node that refused
    std::string askedAt;               ///< of a mistaken device the node whose words it has
    bool ownWords = true;              ///< false: INQUIRY's words are all that the plug-in got of an ATA disk
    sys::kernelWords kernel;           ///< what the kernel knows
    std::optional<int> peripheralType; ///< of INQUIRY, all five bits: the plug-in looks at four
    // The plug-in's words.
    std::string vendor, product, revision, serial, type;
    std::string address;  ///< HOST:CHANNEL:TARGET:LUN
    std::string identity; ///< what associations find its firmware by
    std::string model;    ///< of a disk that was asked for its own words; the plug-in keeps the first two words of it
    std::set<std::string> classes; ///< of its instances
    firmwareTie firmware = firmwareTie::notAskedFor;

    bool isTrue() const { return state == deviceState::identified || state == deviceState::excluded; }
};

using instances = std::vector<boost::shared_ptr<minihost::memoryInstance>>;

/// All devices of a machine, in the order of the walk. `all` are the instances of a run, `log` is what its log told.
/// Where sizes are wanted of the kernel, it is asked for everything about the devices of which the plug-in has not got
/// all words.
std::vector<device> devicesOf(sys::machine& machine, const sys::watchedMachine& watched, const logFindings& log,
                              const instances& all, sys::kernelDetail detail);

/// The device at a node; null where there is none.
template <typename Devices>
auto* deviceAt(Devices& devices, const std::string& node) {
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&node](const device& each) { return each.node == node; });
    return found == devices.end() ? nullptr : &*found;
}

/// The number of devices in one of these states.
std::size_t countOf(const std::vector<device>& devices, std::initializer_list<deviceState> states);

} // namespace inventory
