// What the plug-in costs inside a process, shell commands aside: prints the processor time in nanoseconds that loading
// it with Init, a first and a second query for SCSI devices took, a line each.

#include "minihost/memorynamespace.h"
#include "minihost/pluginlibrary.h"
#include "system/thismachine.h"

#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <vector>

namespace {

struct machineWithoutShell : sys::thisMachine {
    using thisMachine::thisMachine;
    int system(const char* /*command*/) override { return 0; }
};

constexpr std::size_t disks = 32; // as the guest has

long long processNanoseconds() {
    std::timespec spent{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
    return spent.tv_sec * 1000000000LL + spent.tv_nsec;
}

/// Prints what a query costs; did it write an instance for each disk?
bool query(minihost::pluginLibrary& plugin) {
    minihost::memoryNamespace ns;
    std::vector<boost::shared_ptr<NHALDEN20::ICIMClass>> requested{ns.GetClass("KORVA_SCSIDevice", {})};
    const auto handle = ns.handle();
    const long long before = processNanoseconds();
    plugin.getData(handle, requested);
    std::cout << processNanoseconds() - before << '\n';
    return ns.instances().size() == disks;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    machineWithoutShell machine(sys::virtualDeviceLists{});
    const sys::machineInUse inUse(machine);
    const long long before = processNanoseconds();
    minihost::pluginLibrary plugin(argv[1], argv[1]);
    std::cout << processNanoseconds() - before << '\n';
    const bool firstFoundAll = query(plugin);
    const bool secondFoundAll = query(plugin);
    return firstFoundAll && secondFoundAll ? 0 : 1;
}
