#pragma once

#include "simulator/kernel.h"

/// A simulated machine that answers the system calls of this process while it lives; one at a time.
class installedKernel : public simulator::kernel {
public:
    explicit installedKernel(const simulator::machine& machine);
    ~installedKernel() override;
    installedKernel(const installedKernel&) = delete;
    installedKernel& operator=(const installedKernel&) = delete;
};
