#pragma once

#include "inventory/options.h"
#include "simulator/kernel.h"
#include "simulator/recorder.h"

#include <optional>
#include <string>
#include <vector>

namespace inventory {

/// The machine that a run asks: this one, or the one of a machine file.
///
/// While it lives, it sees the system calls of this process, the plug-in's among them. A simulated machine answers
/// those on its device nodes; the recorder watches all. The first query that asks the devices is recorded, and the
/// later ones get the same answers again. One object at a time.
class askedMachine {
public:
    /// Throws simulator::machineFileError when the machine file cannot be used, and std::runtime_error when the file to
    /// record into exists already.
    explicit askedMachine(const options& options);
    ~askedMachine();
    askedMachine(const askedMachine&) = delete;
    askedMachine& operator=(const askedMachine&) = delete;

    /// To be called before each query: from the one after the first that asked the devices, these are not asked any
    /// more, unless the options want that. No waiting time is spent again.
    void beginQuery();

    bool isSimulated() const { return kernel_.has_value(); }

    /// The management controller's virtual devices of one kind (0 or 1): those of the machine, then those of the
    /// options.
    std::vector<std::string> virtualDevices(int kind) const;

    /// The device nodes that were opened so far.
    simulator::nodeCount nodes() const { return recorder_.nodes(); }

    /// Seconds of waiting that a simulated machine has skipped.
    unsigned secondsSkipped() const { return kernel_ ? kernel_->secondsSkipped() : 0; }

    /// If the options name a file to record into, writes it and says on standard error what it holds.
    void writeRecording() const;

private:
    /// Runs shell commands so that a signal ends them with the run.
    class watcher : public simulator::recorder {
    public:
        using recorder::recorder;
        int run(const char* command, int (*realSystem)(const char*)) override;
    };

    const options& options_;
    std::optional<simulator::kernel> kernel_; ///< none: this machine's own
    std::optional<simulator::kernel> again_;  ///< what the devices answered, once that is to be answered again
    watcher recorder_;
};

} // namespace inventory
