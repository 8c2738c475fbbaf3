#pragma once

#include "plugin/host/cimclass.h"
#include "plugin/host/ciminstance.h"
#include "plugin/host/cimnamespace.h"
#include "plugin/host/plugincallbacks.h"

#include "plugin/busdevice.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <string>
#include <vector>

class scsiDevice;

namespace NHALDEN20 {

// Names and values in contexts. They are made when the library is loaded, after the plug-in object.
extern const std::string kPluginNSPName; ///< "plugin"
extern const std::string kCMPINSPName;   ///< "cmpi"
extern const std::string kContextName;   ///< "nspID"

} // namespace NHALDEN20

/// The collector: the one object that the host loads, registers and asks for data.
///
/// The host owns it and calls one operation at a time. What Init and GetData gather stays until the object is
/// deleted. Each operation's definition is in the source file that is named for its job.
class TScsidevPluginCallbacks : public NHALDEN20::IPluginCallbacks, public NHALDEN20::IPluginBasicQueryCallbacks {
public:
    using classList = std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>>;
    using instanceList = std::vector<boost::shared_ptr<NHALDEN20::ICIMInstance>>;

    /// Registers the object with the host's plug-in manager.
    TScsidevPluginCallbacks();
    ~TScsidevPluginCallbacks() override;

    int GetType() override;
    std::string GetName() override;
    std::string GetVersion() override;
    std::string GetInterfaceVersion() override;
    void PrepareForUnload() override;

    /// Gathers what tells virtual devices from real ones: the management controller's lists and the USB
    /// listing.
    void Init() override;
    void DeInit() override;

    /// Placeholder, does nothing.
    virtual void IterateDrives(std::string nodeBase, classList& requested,
                               boost::shared_ptr<NHALDEN20::ICIMNamespace> ns);

    /// Writes one instance for each drive in the kernel's optical-drive table, except virtual ones, as long
    /// as the requested classes, from the first on, are the optical drives' class.
    virtual void IterateCDromdrives(classList& requested);

    // Placeholders that do nothing: serial numbers and capabilities are gathered elsewhere.
    virtual void GetSCSISerialNumber(int fd, busDevice* record);
    virtual void GetIDESerialNumber(int fd, busDevice* record);
    virtual void GetOpticalCapabilities(classList& requested, int fd, busDevice* record, cdvdDevice* drive);

    /// Probes all devices and writes instances of the `requested` classes into `ns`. The first class decides
    /// what is done; without any, nothing is. A failure of device work is logged and ends the pass, not the
    /// call.
    void GetData(boost::shared_ptr<NHALDEN20::ICIMNamespace> ns, classList& requested) override;

    /// The integer behind the first colon of `line` (of all of it when it has none), tabs left out; 0, with
    /// two lines in the log, where that is no integer.
    virtual int getOptProperty(std::string line);

    /// BusTypeAta when the open device answers IDENTIFY DEVICE, else BusTypeScsi.
    unsigned int getBusType(scsiDevice* device);

    /// The name of a peripheral device type (SPC-4, table 124); "" for one without a name.
    std::string getDeviceTypeString(unsigned char type);

    /// Stores a copy of the record, in place of the one stored for the same node, as the last of the list.
    void StoreBusDevice(busDevice* record);

    /// Probes the 32 nodes of the family `nodeBase` and stores a record for each accepted device.
    /// What FindUSBDevice throws ends the walk.
    void collectData(std::string nodeBase, boost::shared_ptr<NHALDEN20::ICIMNamespace> ns, classList& requested);

    /// Is `product`, without outer blanks, the quoted name of a device in the USB listing?
    /// Throws std::out_of_range for a product made of blanks only.
    bool FindUSBDevice(boost::shared_ptr<NHALDEN20::ICIMNamespace> ns, std::string vendor, std::string product);

    /// Writes what the stored records give for the requested classes and destroys all of them.
    void GetBusDevice(classList& requested, boost::shared_ptr<NHALDEN20::ICIMNamespace> ns);

    /// Writes what one record gives: an association, a device, a firmware element, or nothing.
    void returnDevice(classList& requested, busDevice* record, boost::shared_ptr<NHALDEN20::ICIMNamespace> ns);

    /// Finds the first known device and the first known firmware element whose identity is part of `key` and
    /// sets them as the ends of `association`. False: no such pair, `association` is untouched.
    bool findRefs(std::string key, std::string firmwareLevel, boost::shared_ptr<NHALDEN20::ICIMInstance> association);

    /// Puts a new instance of the requested class called `className` into `instance`.
    /// False: that class was not requested, `instance` is untouched.
    bool wasRequested(classList& requested, std::string className,
                      boost::shared_ptr<NHALDEN20::ICIMInstance>& instance);

    /// The parts of `text` between any of the characters of `separators`, empty parts left out.
    std::vector<std::string> SplitBySeperator(std::string text, std::string separators);

    /// What is behind the first colon of `text`; all of it when it has none.
    std::string ColonFilter(std::string text);

    // Placeholders that do nothing.
    void processDrive(int fd, busDevice* record);
    void processDevice(unsigned char* inquiry, busDevice* record);

private:
    /// The context that every class lookup of a query is given.
    static NHALDEN20::TContext queryContext();

    void readExistingInstances(NHALDEN20::ICIMNamespace& ns, const std::string& className,
                               const NHALDEN20::TContext& context, instanceList& instances);
    bool collectScsiNode(scsiDevice& device, busDevice& record, boost::shared_ptr<NHALDEN20::ICIMNamespace> ns);
    bool isExcluded(unsigned char peripheralByte, const busDevice& record,
                    boost::shared_ptr<NHALDEN20::ICIMNamespace> ns);
    void collectAtaDevice(scsiDevice& device, int index, bool scsiDone, busDevice& record);

    void readOpticalTable();
    std::string opticalLine(const std::string& key) const;
    void writeOpticalDrives(classList& requested);
    bool isVirtualOpticalDrive(const std::string& name) const;

    bool chooseDeviceInstance(classList& requested, const busDevice& record,
                              boost::shared_ptr<NHALDEN20::ICIMInstance>& instance);
    void writeAssociation(const busDevice& record, boost::shared_ptr<NHALDEN20::ICIMInstance> association);
    void writeFirmwareElement(const busDevice& record, NHALDEN20::ICIMNamespace& ns);

    instanceList existingDevices_;
    instanceList existingFirmwareElements_;
    instanceList firmwareElements_; ///< written by this object; only grows
    std::vector<std::string> opticalLines_;
    std::map<int, busDevice> reservedDevices_; // these three stay empty: they only keep
    std::map<int, busDevice> reservedTapes_;   // the layout that the object always had
    std::map<int, std::string> reservedDeviceNames_;
    std::vector<std::string> virtualDisks_;         ///< the management controller's virtual devices of kind 0
    std::vector<std::string> virtualOpticalDrives_; ///< and of kind 1
    std::string usbListing_;
    std::vector<busDevice*> storedDevices_; ///< owned until GetBusDevice destroys them
};
