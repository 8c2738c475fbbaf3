// What one query costs on a simulated machine with 0, 16 or 32 disks among its 32 + 32 nodes, against a floor that
// makes the same system calls on the same machine and does nothing else. The ratio counts; the times are the machine's.

#include "device/identifydevice.h"
#include "device/scsipassthrough_linux.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/scsidev_linux.h"
#include "simulator/kernel.h"
#include "simulator/recorder.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

simulator::kernel* installed = nullptr;

simulator::machine machineWith(int disks) {
    simulator::machine machine;
    for (int index = 0; index < disks; ++index) {
        simulator::node& disk = machine.nodes["/dev/sg" + std::to_string(index)];
        disk.sgVersion = simulator::numberAnswer{30536, 0};
        disk.emulated = simulator::numberAnswer{0, 0};
        disk.address = simulator::addressAnswer{0, 0, index, 0, 0, 0};
        const std::string inquiry = std::string("\0\0\5\2\37\0\0\0", 8) + "ACME    ROADRUNNER 4000 1.02";
        const std::string serial = std::string("\0\x80\0\x8", 4) + "SN000001";
        disk.inquiry = simulator::scsiAnswer{0, {inquiry.begin(), inquiry.end()}, {}, 0, 0, 0, 0, 0, {}};
        disk.serialPage = simulator::scsiAnswer{0, {serial.begin(), serial.end()}, {}, 0, 0, 0, 0, 0, {}};
    }
    return machine;
}

void query(benchmark::State& state) {
    simulator::kernel kernel(machineWith(static_cast<int>(state.range(0))));
    installed = &kernel;
    TScsidevPluginCallbacks plugin;
    while (state.KeepRunning()) {
        minihost::memoryNamespace ns;
        TScsidevPluginCallbacks::classList requested{ns.GetClass("KORVA_SCSIDevice", {})};
        plugin.GetData({&ns,
                        [](NHALDEN20::ICIMNamespace* /*ns*/) {
                        }},
                       requested);
        benchmark::DoNotOptimize(ns.instances().size());
    }
    installed = nullptr;
}

void send(int fd, unsigned char* cdb, unsigned char* data) {
    int number = 0;
    ::ioctl(fd, SG_GET_VERSION_NUM, &number);
    if (cdb[1] != 0)
        ::ioctl(fd, SG_EMULATED_HOST, &number);
    sg_io_hdr header{};
    header.interface_id = 'S';
    header.cmd_len = inquiryCommandLength;
    header.dxfer_len = 36;
    header.dxferp = data;
    header.cmdp = cdb;
    ::ioctl(fd, SG_IO, &header);
}

void floorOf(benchmark::State& state) {
    simulator::kernel kernel(machineWith(static_cast<int>(state.range(0))));
    installed = &kernel;
    unsigned char data[36];
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(std::system("modprobe sg >/dev/null 2>&1"));
        for (const std::string base : {"/dev/sg", "/dev/hd"}) {
            for (int index = 0; index < 32; ++index) {
                const int fd = ::open((base + std::to_string(index)).c_str(), O_RDONLY | O_NONBLOCK);
                if (fd < 0) {
                    ::open((base + static_cast<char>('a' + index)).c_str(), O_RDONLY | O_NONBLOCK);
                    continue;
                }
                sg_scsi_id id;
                send(fd, inquiry_cmd, data);
                ::ioctl(fd, SG_GET_SCSI_ID, &id);
                send(fd, serialinquiry_cmd, data);
                ::close(fd);
            }
        }
    }
    installed = nullptr;
}

BENCHMARK(floorOf)->Arg(0)->Arg(16)->Arg(32)->Unit(benchmark::kMicrosecond);
BENCHMARK(query)->Arg(0)->Arg(16)->Arg(32)->Unit(benchmark::kMicrosecond);

} // namespace

simulator::kernel* simulator::activeKernel() { return installed; }
simulator::recorder* simulator::activeRecorder() { return nullptr; }
