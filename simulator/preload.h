#pragma once

namespace simulator {

/// The environment variable that names the machine file to the preload library.
constexpr const char* machineVariable = "SCSIDEV_MACHINE";

/// The environment variable that, set to anything, makes a simulated machine sleep for real.
constexpr const char* sleepVariable = "SCSIDEV_SLEEP";

/// The environment variable that makes the preload library record this machine instead. Its value is the LD_PRELOAD
/// that child processes get.
constexpr const char* recordVariable = "SCSIDEV_RECORD";

/// The preload library's file name.
constexpr const char* preloadLibrary = "libscsidev-simulator.so";

/// A function of the library, of type bool(), by which a program learns that its machine is simulated.
constexpr const char* simulatedMark = "scsidevMachineIsSimulated";

/// A function of the library, of type machine*(): what was recorded so far, or null when it does not record.
constexpr const char* recordedMachine = "scsidevRecordedMachine";

} // namespace simulator
