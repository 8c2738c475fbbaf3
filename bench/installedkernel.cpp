#include "bench/installedkernel.h"

#include "system/recorder.h"

namespace {

sys::kernel* installed = nullptr;

} // namespace

installedKernel::installedKernel(const sys::machineAnswers& machine) : kernel(machine) { installed = this; }
installedKernel::~installedKernel() { installed = nullptr; }

sys::kernel* sys::activeKernel() { return installed; }
sys::recorder* sys::activeRecorder() { return nullptr; }
