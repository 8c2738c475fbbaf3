#pragma once

#include "minihost/memorynamespace.h"
#include "plugin/scsidev_linux.h"
#include "system/simulatedmachine.h"
#include "tests/notedmachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

using strings = std::vector<std::string>;

/// Of this process.
std::size_t openDescriptors();

/// A simulated machine under this process, and the log of the host on it. At its end no node may be open, no descriptor
/// more than at the start, and no child be left. Nobody may ask what the simulation does not know, nor give the host
/// anything to remark on.
class simulation {
public:
    explicit simulation(sys::machineAnswers answers = {});
    ~simulation();
    simulation(const simulation&) = delete;
    simulation& operator=(const simulation&) = delete;

    sys::machineAnswers& machine() { return simulated_.answers(); }
    sys::node& at(const std::string& path) { return machine().nodes[path]; }
    /// A node of the sg driver, version 3.5, not emulated, that answers INQUIRY with `inquiry`.
    sys::node& sgNode(const std::string& path, const sys::scsiAnswer& inquiry);

    const strings& calls() const { return noted_.calls(); }
    unsigned secondsSlept() const { return simulated_.secondsSkipped(); }
    /// The log so far, each line as "LEVEL TEXT"; empties it.
    strings takeLog();

protected:
    sys::simulatedMachine simulated_;
    notedMachine noted_{simulated_};

private:
    sys::machineInUse inUse_{noted_};
    std::size_t descriptors_;      ///< of this process, at the start
    std::filesystem::path before_; ///< the working directory, which each test has for itself
    std::filesystem::path directory_;
    strings log_;
};

// What queries ask for.
inline const std::string scsi = "KORVA_SCSIDevice", tape = "KORVA_SCSITapeDrive", ata = "KORVA_ATADevice",
                         optical = "KORVA_CDVDDevice", element = "KORVA_SysBusDeviceFirmwareElement",
                         firmware = "KORVA_SysBusDeviceFirmware";

/// The texts of the properties of one instance: numbers in decimal, flags as true, references as paths.
using properties = std::map<std::string, std::string>;

/// A plug-in object on the simulated machine, and a namespace for its instances.
class pluginInUse : public simulation {
public:
    using simulation::simulation;

    /// Runs one query.
    void ask(const strings& classNames);
    /// The same, and returns the instances committed during it.
    std::vector<properties> query(const strings& classNames);
    std::size_t committed() const { return namespace_.instances().size(); }
    std::vector<properties> committedAfter(std::size_t first) const;
    /// The value of one property of each instance.
    static strings each(const std::vector<properties>& instances, const std::string& name);

    TScsidevPluginCallbacks::classList classes(const strings& names);
    boost::shared_ptr<NHALDEN20::ICIMNamespace> ns() { return namespace_.handle(); }

    minihost::memoryNamespace namespace_;
    std::unique_ptr<TScsidevPluginCallbacks> plugin_ = std::make_unique<TScsidevPluginCallbacks>();
};

class SimulatedMachine : public ::testing::Test, protected simulation {};
class Plugin : public ::testing::Test, protected pluginInUse {};

NHALDEN20::TCIMValue listOf(std::initializer_list<NHALDEN20::TCIMValue> elements);

// Answers of devices. Texts are padded with blanks to their field.

sys::scsiAnswer inquiry(unsigned char peripheralByte, const std::string& vendor, const std::string& product);
sys::scsiAnswer serialPage(const std::string& serialNumber);
/// A CHECK CONDITION with fixed-format sense.
sys::scsiAnswer check(unsigned char key, unsigned char asc, unsigned char ascq);
sys::driveAnswer identify(const std::string& model);
