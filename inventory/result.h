#pragma once

#include "inventory/devices.h"
#include "minihost/memorynamespace.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace inventory {

/// The result of one query.
struct queryResult {
    std::vector<std::string> classes;
    inventory::instances instances;   ///< committed during it, in commit order
    std::optional<std::string> error; ///< the text of the exception that escaped from it
};

/// A message of the plug-in's log, or a remark of the program.
struct message {
    enum source { plugin, program };

    source from;
    int level; ///< of the log; of a remark 0
    std::string text;
    std::size_t count; ///< how often it came
};

/// What a run saw of the machine beside its device nodes, and what it could not see.
struct coverage {
    bool walked = false;             ///< the device nodes were looked for
    std::vector<std::string> beyond; ///< sg nodes behind the last that is looked at
    int driverStatus = 0;            ///< exit status of loading the sg driver; -1: it was ended by a signal
    bool hasScsiDevices = true;      ///< whether or not they have sg nodes
    bool tiedTooEarly = false;       ///< associations were asked for before what they tie together
    logFindings log;
    std::vector<std::string> unmatched; ///< virtual devices that were named but are not there: "0=/dev/sg40"
    std::vector<std::string> unread;    ///< what else could not be read, with the reason
    std::string collected;              ///< when the answers were taken; "" where nobody knows
    unsigned secondsSkipped = 0;        ///< of waiting, on a simulated machine

    /// A driver that nothing needs is not missed.
    bool missesDriver() const { return driverStatus != 0 && hasScsiDevices; }
};

/// The exit statuses of the program.
enum exitStatus { completeInventory = 0, failedRun = 1, wrongUsage = 2, incompleteInventory = 3 };

/// The result of a run: its queries, up to the first that failed, and what is to be said of it.
struct runResult {
    std::string machineName;
    bool simulated = false;
    std::vector<queryResult> queries;
    std::optional<std::string> error; ///< why the run failed
    coverage seen;
    std::vector<message> messages; ///< equal ones once, in the order in which they came first
    std::vector<device> devices;   ///< in the order of the walk

    /// Takes a message; true when it is the first of its kind.
    bool addMessage(message::source from, int level, const std::string& text);

    /// The instances of all queries.
    instances allInstances() const;

    /// No query failed, no step of one did, and nothing but devices that are listed may have stayed unseen.
    bool sawAllBesideDevices() const;

    /// That, and each device is identified or left out on purpose.
    bool isComplete() const;

    exitStatus status() const { return error ? failedRun : isComplete() ? completeInventory : incompleteInventory; }
};

} // namespace inventory
