#include "inventory/askedmachine.h"

#include "system/machinefile.h"

namespace inventory {

namespace {

/// The machine of a file, to which the user has added virtual devices.
sys::machineAnswers answersOf(const runOptions& options) {
    sys::machineAnswers answers = sys::readMachineFile(options.machineFile);
    for (const auto kind : sys::virtualDeviceKinds) {
        auto& names = answers.virtualDevices[kind];
        names.insert(names.end(), options.virtualDevices[kind].begin(), options.virtualDevices[kind].end());
    }
    return answers;
}

} // namespace

askedMachine::askedMachine(const runOptions& options) {
    if (options.machineFile.empty())
        this_.emplace(options.virtualDevices);
    else
        simulated_.emplace(answersOf(options));
    if (simulated_)
        doubts_ = sys::doubtsAbout(simulated_->answers());
    sys::machine& asked = this_ ? static_cast<sys::machine&>(*this_) : *simulated_;
    const bool replays = options.queries.size() > 1 && !options.askAgain;
    if (replays || !options.recordFile.empty())
        recorded_.emplace(asked);
    watched_.emplace(recorded_ ? *recorded_ : asked);
    if (replays)
        replayed_.emplace(*watched_, *recorded_);
    outermost_.emplace(replays ? static_cast<sys::machine&>(*replayed_) : *watched_);
    inUse_.emplace(*outermost_);
}

} // namespace inventory
