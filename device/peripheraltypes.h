#pragma once

/// The names of the peripheral device types (SPC-4, table 124) by their numbers; "" for one without a name.
constexpr const char* peripheralTypes[] = {
    "Direct Access Device",
    "Sequential Access Device",
    "Printer Device",
    "Processor Device",
    "Write-Once Device",
    "CD-ROM Device",
    "Scanner Device",
    "Optical Memory Device",
    "Medium Changer Device",
    "Communications Device",
    "Graphic Arts Device", // 10 and 11 are both ASC IT8 types
    "Graphic Arts Device",
    "Storage Array Controller",
    "Enclosure Device",
    "Simple Direct Access Device",
    "Optical Card Reader Device",
    "", // 16, bridge controllers, have no name here
    "Optical Based Storage Device",
};
