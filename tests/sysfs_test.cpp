#include "system/sysfs.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

/// What is known of a device in one text: "name=sda|wwid=naa.5000c500|size=512".
std::string textOf(const sys::kernelWords& known) {
    std::string text;
    const auto add = [&text](const std::string& name, const std::string& value) {
        text += value.empty() ? "" : (text.empty() ? "" : "|") + name + '=' + value;
    };
    for (const auto& name : known.names)
        add("name", name);
    sys::eachKernelText(known, add);
    add("size", known.size ? std::to_string(*known.size) : "");
    add("type", known.type ? std::to_string(*known.type) : "");
    return text;
}

/// Makes a directory, whose name ends with a slash, or a file.
void make(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    if (path.has_filename())
        std::ofstream(path) << content;
}

} // namespace

TEST(Sysfs, TellsWhatTheKernelKnowsOfADevice) {
    const std::string address = "address=2:0:1:4", addressBehindName = "name=sda|" + address;
    const struct {
        const char* why;
        std::map<std::string, std::string> files; ///< of the device
        std::string told;
        std::string node = "/dev/sg7", adapter{}, driver{}; ///< the adapter's directory, what it calls its driver
    } cases[] = {
        {"a disk with a partition",
         {{"block/sda/sda1/", ""},
          {"inquiry", "\0\0\5\x02[\0\0\2ATA     ST4000 X        SC60 behind"s},
          {"block/sda/size", "7814037168\n"},
          {"type", "0\n"},
          {"vpd_pg80", "\0\x80\0\x06  ZA12 behind"s},
          {"wwid", "naa.5000c500\n"}},
         addressBehindName + "|adapter=ahci 0000:02:00.0|wwid=naa.5000c500|vendor=ATA|model=ST4000 X|revision=SC60|"
                             "serial=ZA12|size=4000787030016|type=0",
         "/dev/sg7",
         "pci0000:00/0000:00:1c.0/0000:02:00.0/ata1",
         "ahci\n"},
        {"a tape drive in all its modes, behind a domain of five digits",
         {{"scsi_tape/nst10/", ""}, {"scsi_tape/st10/", ""}, {"scsi_tape/st10a/", ""}, {"scsi_tape/st/", ""}},
         "name=st10|" + address + "|adapter=10000:e0:06.0",
         "/dev/sg7",
         "pci10000:e0/10000:e0:06.0",
         "<NULL>\n"},
        {"a changer, behind no PCI device",
         {{"scsi_changer/sch0/", ""}, {"wwid", "\n"}},
         "name=sch0|" + address + "|adapter=iscsi_tcp",
         "/dev/sg7",
         "platform/0000:02:00.x/x000:02:00.0:1",
         "iscsi_tcp\n"},
        {"odd bytes",
         {{"block/\x1b[2J\xff/", ""},
          {"wwid", "t10.\0\xff \n b \n"s},
          {"inquiry", std::string(16, 'x') + std::string(20, '\0')}},
         "name=\x1b[2J\xff|" + address + "|wwid=t10.\0\xff \n b|vendor=xxxxxxxx"s,
         "/dev/sg7",
         "",
         "(null)\n"},
        {"a file longer than any", {{"wwid", std::string(5000, 'w')}}, address + "|wwid=" + std::string(4096, 'w')},
        {"a page that ends early", {{"vpd_pg80", "\0\x80\xff\xffZA"s}}, address + "|serial=ZA"},
        {"half a header", {{"vpd_pg80", "\0\x80\0"s}}, address},
        {"numbers out of range", {{"type", "32\n"}, {"block/sda/size", "18014398509481984\n"}}, addressBehindName},
        {"no numbers", {{"type", "-1\n"}, {"block/sda/size", "8 \n8"}}, addressBehindName},
        {"a node of the IDE driver", {{"../../../../class/block/hdc/size", "16\n"}}, "name=hdc|size=8192", "/dev/hdc"},
        {"another path", {{"block/sda/", ""}}, "", "/dev/sg7/../sg7"},
        {"a letter", {{"block/sda/", ""}}, "", "/dev/sga"},
        {"nodes that the kernel does not know", {{"block/hda/", ""}}, "", "/dev/sg70"},
        {"nor these", {{"block/hda/", ""}}, "", "/dev/hda"},
    };
    const fs::path root = testing::TempDir() + "scsidev-sysfs-" + std::to_string(::getpid());
    const auto tell = [&root](const std::string& node, sys::kernelDetail detail) {
        return sys::readKernelWords({node}, detail, (root / "class/").string())[node];
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        fs::remove_all(root);
        const fs::path place = fs::path("devices") / c.adapter / "host2/target2:0:1/2:0:1:4";
        fs::create_directories(root / place / "scsi_generic/sg7");
        fs::create_directory_symlink("../../../2:0:1:4", root / place / "scsi_generic/sg7/device");
        make(root / "class/scsi_host/host2/proc_name", c.driver);
        make(root / "class/scsi_generic/", "");
        fs::create_directory_symlink("../.." / place / "scsi_generic/sg7", root / "class/scsi_generic/sg7");
        for (const auto& [file, content] : c.files)
            make((root / place / file), content);
        const auto known = tell(c.node, sys::kernelDetail::all);
        EXPECT_EQ(textOf(known), c.told);
        sys::kernelWords named;
        named.knowsNames = known.knowsNames;
        named.names = known.names;
        EXPECT_EQ(tell(c.node, sys::kernelDetail::names), named);
    }
    fs::remove_all(root);
    EXPECT_TRUE(tell("/dev/sg7", sys::kernelDetail::all).empty());
}
