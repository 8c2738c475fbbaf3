#pragma once

namespace simulator {

/// The environment variable that names the machine file to the preload library.
constexpr const char* machineVariable = "SCSIDEV_MACHINE";

/// The preload library's file name.
constexpr const char* preloadLibrary = "libscsidev-simulator.so";

/// A function of the library, of type bool(), by which a program learns that its machine is simulated.
constexpr const char* simulatedMark = "scsidevMachineIsSimulated";

} // namespace simulator
