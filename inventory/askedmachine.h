#pragma once

#include "inventory/options.h"
#include "inventory/outputfile.h"
#include "inventory/result.h"
#include "system/kernel.h"
#include "system/recorder.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace inventory {

/// The machine that a run asks: this one, or the one of a machine file.
///
/// While it lives, it sees the system calls of this process, the plug-in's among them. A simulated machine answers
/// those on its device nodes; the recorder watches all. The first query that asks the devices is recorded, and the
/// later ones get the same answers again. One object at a time.
class askedMachine {
public:
    /// Throws sys::machineFileError when the machine file cannot be used, and std::runtime_error when the file to
    /// record into cannot be written or that with the key for an anonymous recording cannot be used.
    explicit askedMachine(const runOptions& options);
    ~askedMachine();
    askedMachine(const askedMachine&) = delete;
    askedMachine& operator=(const askedMachine&) = delete;

    /// From now on, `step` is told what a shell command of the plug-in is for, when one begins to run.
    void onStep(std::function<void(const std::string& step)> step) { recorder_.step = std::move(step); }

    /// To be called before each query: from the one after the first that asked the devices, these are not asked any
    /// more, unless the options want that. No waiting time is spent again.
    void beginQuery();

    /// The management controller's virtual devices of one kind (0 or 1): those of the machine, then those of the
    /// options.
    std::vector<std::string> virtualDevices(int kind) const;

    /// Is there a table of optical drives?
    bool hasOpticalTable() const;

    /// Adds to `result` what the machine has shown of itself, and what not, and asks its kernel for the names of the
    /// devices: only now, so that during a query the plug-in's system calls stand alone.
    void report(runResult& result) const;

    /// If the options name a file to record into, writes it. Returns what to say of it.
    std::string writeRecording();

private:
    /// Runs shell commands so that a signal ends them with the run, and says what they are for.
    class watcher : public sys::recorder {
    public:
        using recorder::recorder;
        int run(const char* command, int (*realSystem)(const char*)) override;

        std::function<void(const std::string&)> step;
    };

    std::vector<std::string> sgNodesBeyond() const;
    std::map<std::string, sys::kernelNames> kernelNames(const std::set<std::string>& paths, bool wantsWwid) const;

    const runOptions& options_;
    std::optional<sys::kernel> kernel_; ///< none: this machine's own
    std::optional<sys::kernel> again_;  ///< what the devices answered, once that is to be answered again
    watcher recorder_;
    std::string anonymizeKey_; ///< empty: the recording has the originals
    std::optional<outputFile> recording_;
};

} // namespace inventory
