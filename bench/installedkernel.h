#pragma once

#include "system/kernel.h"

/// A simulated machine that answers the system calls of this process while it lives; one at a time.
class installedKernel : public sys::kernel {
public:
    explicit installedKernel(const sys::machineAnswers& machine);
    ~installedKernel() override;
    installedKernel(const installedKernel&) = delete;
    installedKernel& operator=(const installedKernel&) = delete;
};
