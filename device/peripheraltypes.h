#pragma once

/// A peripheral device type (SPC-4, table 124).
struct peripheralType {
    const char* name;      ///< "" for one without a name
    const char* shortName; ///< as lsscsi prints it
};

/// The types by their numbers.
constexpr peripheralType peripheralTypes[] = {
    {"Direct Access Device", "disk"},
    {"Sequential Access Device", "tape"},
    {"Printer Device", "printer"},
    {"Processor Device", "process"},
    {"Write-Once Device", "worm"},
    {"CD-ROM Device", "cd/dvd"},
    {"Scanner Device", "scanner"},
    {"Optical Memory Device", "optical"},
    {"Medium Changer Device", "mediumx"},
    {"Communications Device", "comms"},
    {"Graphic Arts Device", "graphic"}, // 10 and 11 are both ASC IT8 types; lsscsi has only their numbers for them
    {"Graphic Arts Device", "graphic"},
    {"Storage Array Controller", "storage"},
    {"Enclosure Device", "enclosu"},
    {"Simple Direct Access Device", "sim dsk"},
    {"Optical Card Reader Device", "opti rd"},
    {"", ""}, // 16, bridge controllers, have no name here
    {"Optical Based Storage Device", "osd"},
};
