#include "bench/installedkernel.h"

#include "simulator/recorder.h"

namespace {

simulator::kernel* installed = nullptr;

} // namespace

installedKernel::installedKernel(const simulator::machine& machine) : kernel(machine) { installed = this; }
installedKernel::~installedKernel() { installed = nullptr; }

simulator::kernel* simulator::activeKernel() { return installed; }
simulator::recorder* simulator::activeRecorder() { return nullptr; }
