#pragma once

#include <string>
#include <vector>

namespace [[gnu::visibility("default")]] NHALDEN20 {

/// Services of the operating system that the host offers.
class TOSSpecific {
public:
    /// The whole content of the file at `path`.
    static std::string CaptureFile(std::string path);

    /// Runs `command` with `arguments` and returns its standard output; `timeout` bounds its running
    /// time.
    static std::string SpawnProcess(std::string command, std::vector<std::string> arguments, int timeout);

    static std::string GetMachineName();

    /// Fills `list` with the names of the management controller's virtual devices of `kind` (0 or 1).
    static bool getOrvexVirtualDevices(int kind, std::vector<std::string>& list, bool flag);
};

} // namespace NHALDEN20
