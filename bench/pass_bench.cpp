// What one query costs on a simulated machine with 0, 16 or 32 disks among its 32 + 32 nodes, against a floor that
// makes the same system calls on the same machine and does nothing else. Each query is timed beside a floor of its own,
// so that the ratio holds on a machine that does other things as well.

#include "bench/installedkernel.h"
#include "device/scsipassthrough_linux.h"
#include "minihost/memorynamespace.h"
#include "minihost/minihost.h"
#include "plugin/scsidev_linux.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

namespace {

using seconds = std::chrono::duration<double>;

constexpr int indexes = 32; // of each of the two node families

sys::machineAnswers machineWith(int disks) {
    sys::machineAnswers machine;
    for (int index = 0; index < disks; ++index) {
        sys::node& disk = machine.nodes["/dev/sg" + std::to_string(index)];
        disk.sgVersion = sys::numberAnswer{30536, 0};
        disk.emulated = sys::numberAnswer{0, 0};
        disk.address = sys::addressAnswer{0, 0, index, 0, 0, 0};
        const std::string inquiry = std::string("\0\0\5\2\37\0\0\0", 8) + "ACME    ROADRUNNER 4000 1.02";
        const std::string serial = std::string("\0\x80\0\x8", 4) + "SN000001";
        disk.inquiry = sys::scsiAnswer{0, {inquiry.begin(), inquiry.end()}, {}, 0, 0, 0, 0, 0, {}};
        disk.serialPage = sys::scsiAnswer{0, {serial.begin(), serial.end()}, {}, 0, 0, 0, 0, 0, {}};
    }
    return machine;
}

void query(TScsidevPluginCallbacks& plugin) {
    minihost::memoryNamespace ns;
    TScsidevPluginCallbacks::classList requested{ns.GetClass("KORVA_SCSIDevice", {})};
    plugin.GetData(ns.handle(), requested);
    benchmark::DoNotOptimize(ns.instances().size());
}

void send(int fd, unsigned char* cdb) {
    unsigned char data[36];
    int number = 0;
    ::ioctl(fd, SG_GET_VERSION_NUM, &number);
    if (cdb[1] != 0)
        ::ioctl(fd, SG_EMULATED_HOST, &number);
    sg_io_hdr header{};
    header.interface_id = 'S';
    header.cmd_len = inquiryCommandLength;
    header.dxfer_len = sizeof data;
    header.dxferp = data;
    header.cmdp = cdb;
    ::ioctl(fd, SG_IO, &header);
}

void floorOfQuery() {
    benchmark::DoNotOptimize(std::system("modprobe sg >/dev/null 2>&1"));
    for (const std::string base : {"/dev/sg", "/dev/hd"}) {
        for (int index = 0; index < indexes; ++index) {
            const int fd = ::open((base + std::to_string(index)).c_str(), O_RDONLY | O_NONBLOCK);
            if (fd < 0) {
                ::open((base + static_cast<char>('a' + index)).c_str(), O_RDONLY | O_NONBLOCK);
                continue;
            }
            sg_scsi_id id;
            send(fd, inquiry_cmd);
            ::ioctl(fd, SG_GET_SCSI_ID, &id);
            send(fd, serialinquiry_cmd);
            ::close(fd);
        }
    }
}

template <typename Work>
seconds timed(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - begin;
}

/// One query; beside its time that of the floor, the ratio of the two and what the query adds for each node.
void onePass(benchmark::State& state) {
    const installedKernel kernel(machineWith(static_cast<int>(state.range(0))));
    TScsidevPluginCallbacks plugin;
    seconds floor{}, all{};
    while (state.KeepRunning()) {
        floor += timed(floorOfQuery);
        const seconds once = timed([&plugin] { query(plugin); });
        all += once;
        state.SetIterationTime(once.count());
    }
    constexpr auto perPass = benchmark::Counter::kAvgIterations;
    state.counters["floor"] = {floor.count(), perPass};
    state.counters["xfloor"] = all / floor;
    state.counters["own/node"] = {(all - floor).count() / (2 * indexes), perPass};
}
BENCHMARK(onePass)->ArgName("disks")->Arg(0)->Arg(16)->Arg(32)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
