#pragma once

#include "system/machineanswers.h"

#include <string>

namespace sys {

/// Makes of a recorded machine one that may be given away: what a replay needs and what identifies nothing stays where
/// it is, serial numbers, world wide names and the host name become pseudonyms, and nothing else is left
/// (docs/machine-files.md has the details).
///
/// The plug-in finds and leaves out the same devices on both machines. `key` is that of the pseudonyms.
machineAnswers anonymize(machineAnswers machine, const std::string& key);

} // namespace sys
