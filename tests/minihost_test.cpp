#include "minihost/childprocess.h"
#include "minihost/cimcontent.h"
#include "minihost/classtable.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/host/addtovectorcallback.h"
#include "plugin/host/osspecific.h"
#include "plugin/host/rootobject.h"
#include "tests/simulatedmachine.h"

#include <sys/wait.h>

#include <chrono>
#include <climits>

using minihost::outputOf;
using NHALDEN20::TCIMValue;
using namespace std::chrono_literals;

TEST(ChildProcess, ReturnsWhatTheCommandPrints) {
    const struct {
        const char* why;
        std::string command;
        strings arguments;
        std::string output, failure;
    } cases[] = {
        {"arguments see no shell", "printf", {"%s|", "a b", "$HOME"}, "a b|$HOME|", ""},
        {"standard error is not output",
         "sh",
         {"-c", "echo wrong >&2; echo right; exit 3"},
         "right\n",
         "exit status 3"},
        {"standard input is empty", "cat", {}, "", ""},
        {"no such command", "no-such-command-here", {}, "", "No such file or directory"},
        {"killed by another", "sh", {"-c", "echo early; kill -9 $$"}, "early\n", "ended by signal 9"},
        {"more than a pipe holds", "sh", {"-c", "head -c 200000 /dev/zero | tr '\\0' x"}, std::string(200000, 'x'), ""},
    };
    for (const auto& c : cases) {
        const auto child = outputOf(c.command, c.arguments, 10s);
        EXPECT_EQ(child.output, c.output) << c.why;
        // Under QEMU's user emulation a child that cannot be started ends with 127, as one of a shell.
        EXPECT_TRUE(child.failure == c.failure || (!c.failure.empty() && child.failure == "exit status 127"))
            << c.why << ": " << child.failure;
    }
    EXPECT_EQ(minihost::shellStatus("exit 3"), 3 << 8);
    const std::string tooLong(4 << 20, ' '); // for an argument of any process
    EXPECT_EQ(minihost::shellStatus(tooLong.c_str()), 127 << 8) << "as if there were no shell";
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

TEST(ChildProcess, EndsACommandThatTakesTooLong) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(outputOf("sh", {"-c", "echo early; exec sleep 60"}, 200ms).output, "early\n");
    EXPECT_EQ(outputOf("sh", {"-c", "exec sleep 60"}, 200ms).failure, "not ended in time");
    EXPECT_EQ(outputOf("sh", {"-c", "exec >&-; exec sleep 60"}, 200ms).failure, "not ended in time")
        << "its output closed, it still runs";
    EXPECT_EQ(NHALDEN20::TOSSpecific::SpawnProcess("sh", {"-c", "exec sleep 60"}, 1), "") << "seconds";
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(OsServices, SayWhatTheyCouldNotDo) {
    strings failures;
    minihost::setFailureSink([&](const minihost::failedService& failure) {
        failures.push_back(std::to_string(failure.kind) + ' ' + failure.what + ": " + failure.why);
    });
    for (const char* path : {"no-such-file", "/etc/passwd/file", "/"})
        EXPECT_EQ(NHALDEN20::TOSSpecific::CaptureFile(path), "");
    NHALDEN20::TOSSpecific::SpawnProcess("sh", {"-c", "exit 2"}, 10);
    minihost::setFailureSink(nullptr);
    NHALDEN20::TOSSpecific::SpawnProcess("false", {}, 10);
    NHALDEN20::TRootObject::GetCoreLogger()->Log(0, "without a sink nobody hears of either");
    EXPECT_EQ(failures,
              (strings{"0 /etc/passwd/file: Not a directory", "0 /: Is a directory", "1 sh -c exit 2: exit status 2"}));
}

TEST_F(SimulatedMachine, HasAsLongANameAsLinuxAllows) {
    machine().name = std::string(HOST_NAME_MAX, 'n');
    EXPECT_EQ(NHALDEN20::TOSSpecific::GetMachineName(), machine().name);
}

TEST(Values, AreIndependentCopies) {
    TCIMValue list = listOf({"a", "b"});
    TCIMValue copy = list;
    static_cast<std::vector<TCIMValue>&>(copy)[0] = "changed";
    EXPECT_EQ(static_cast<std::string>(static_cast<std::vector<TCIMValue>&>(list)[0]), "a");
    EXPECT_THROW(static_cast<void>(static_cast<std::string>(TCIMValue(true))), std::runtime_error);
    EXPECT_TRUE(static_cast<std::vector<TCIMValue>&>(copy = TCIMValue("text")).empty());
}

TEST(Namespace, EnumeratesAClassWithItsSubclassesInCommitOrder) {
    minihost::memoryNamespace ns;
    const strings all{"KORVA_ATADevice", "KORVA_CDVDDevice", "KORVA_SCSIDevice", "KORVA_SCSITapeDrive"};
    for (const auto& name : all)
        ns.GetClass(name, {})->CreateInstance({})->AddToClass({});
    ns.GetClass("KORVA_SCSIDevice", {})->CreateInstance({}); // not committed
    std::vector<boost::shared_ptr<NHALDEN20::ICIMInstance>> found;
    const NHALDEN20::TAddToVectorCallback<NHALDEN20::ICIMInstance> add(&found);
    ns.GetClass("KORVA_SysBusDevice", {})->EnumerateInstances(add, true, {});
    strings names;
    for (const auto& instance : found)
        names.push_back(instance->GetInstanceClass({})->GetClassName({}));
    EXPECT_EQ(names, (strings{"KORVA_ATADevice", "KORVA_SCSIDevice", "KORVA_SCSITapeDrive"}));
    EXPECT_THROW(ns.GetClass("KORVA_Other", {}), std::invalid_argument);
}

TEST(Namespace, RemarksOnceOnEachPropertyThatDoesNotSuitItsClass) {
    minihost::memoryNamespace ns;
    strings remarks;
    minihost::setRemarkSink([&remarks](const std::string& text) { remarks.push_back(text); });
    const auto instanceOf = [&ns](const std::string& className) {
        return ns.GetClass(className, {})->CreateInstance({});
    };
    const std::string disk = "KORVA_SCSIDevice", firmware = "KORVA_SysBusDeviceFirmware";
    auto toDisk = instanceOf(disk)->GetReference({});
    auto toNothing = NHALDEN20::TCIMReference({}, {});
    const unsigned short number = 1;
    const struct {
        std::string className, property;
        TCIMValue value;
        std::string remark; ///< behind the class name
    } cases[] = {
        {disk, "Lun", number, ""},
        {disk, "OtherIdentifyingInfo", listOf({"a"}), ""},
        {disk, "Lun", TCIMValue(), ""},
        {firmware, "LoadedOnDevice", true, ""},
        {firmware, "Dependent", toDisk, ""},
        {disk, "lun", number, " declares no property lun"},
        {disk, "Lun", "1", " declares Lun as uint16, it is set as string"},
        {disk, "Lun", true, ""}, // once for a property of a class
        {"KORVA_ATADevice", "Lun", true, " declares Lun as uint16, it is set as boolean"},
        {disk, "Model", listOf({"a"}), " declares Model as string, it is set as string[]"},
        {disk, "OtherIdentifyingInfo", listOf({"a", true}),
         " declares OtherIdentifyingInfo as string[], it is set as array of other than strings"},
        {disk, "Name", toDisk, " declares Name as string, it is set as reference to KORVA_SCSIDevice"},
        {firmware, "Antecedent", toDisk,
         " declares Antecedent as reference to KORVA_SysBusDeviceFirmwareElement, it is set as reference to "
         "KORVA_SCSIDevice"},
        {firmware, "Dependent", toNothing,
         " declares Dependent as reference to KORVA_SysBusDevice, it is set as reference to "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.className + '.' + c.property);
        remarks.clear();
        instanceOf(c.className)->SetProperty(c.property, c.value, {});
        EXPECT_EQ(remarks, c.remark.empty() ? strings() : strings{c.className + c.remark});
    }
    minihost::setRemarkSink(nullptr);
}

TEST(ObjectPath, HoldsTheKeysThatWereSetInAlphabeticalOrder) {
    minihost::memoryNamespace ns;
    const auto instance = ns.GetClass("KORVA_SysBusDeviceFirmwareElement", {})->CreateInstance({});
    const auto path = [&instance] {
        return minihost::objectPath(instance->GetReference({}));
    };
    EXPECT_EQ(path(), "KORVA_SysBusDeviceFirmwareElement");
    instance->SetProperty("Version", "a\"b\\c", {});
    instance->SetProperty("Manufacturer", "no key", {});
    instance->SetProperty("SoftwareElementState", static_cast<unsigned short>(2), {});
    EXPECT_EQ(path(), R"(KORVA_SysBusDeviceFirmwareElement.SoftwareElementState=2,Version="a\"b\\c")");
    for (const TCIMValue& noKey : {TCIMValue(), TCIMValue(true), listOf({"a"})}) {
        instance->SetProperty("Version", noKey, {});
        EXPECT_EQ(path(), "KORVA_SysBusDeviceFirmwareElement.SoftwareElementState=2");
    }
}
