#pragma once

#include "plugin/host/plugincallbacks.h"

#include <functional>
#include <string>
#include <vector>

/// The minimal host. The contract (plugin/host/) says what it does for the plug-in; this header, what the program
/// around it sets and reads. One host in a process, one thread.
namespace minihost {

using logSink = std::function<void(int level, const std::string& text)>;

/// Sends every log message to `sink` from now on; without one, messages are dropped.
void setLogSink(logSink sink);

using remarkSink = std::function<void(const std::string& text)>;

/// Sends the host's own remarks to `sink` from now on; without one, they are dropped. The host remarks on a property
/// that the class of its instance does not declare, or declares with another type: once for each class and property of
/// a namespace.
void setRemarkSink(remarkSink sink);

/// A service that the host could not do for the plug-in, which gets an empty text then.
struct failedService {
    enum kinds { reading, spawning };

    kinds kind;
    std::string what; ///< the file, or the command with its arguments
    std::string why;  ///< an error's text, "exit status 1", "not ended in time"
};

using failureSink = std::function<void(const failedService& failure)>;

/// Sends each failure of TOSSpecific::CaptureFile, but for a file that does not exist, and of SpawnProcess to `sink`
/// from now on; without one, they are dropped. A command that ends with another exit status than 0 has failed.
void setFailureSink(failureSink sink);

/// Sets what TOSSpecific::getOrvexVirtualDevices gives for `kind` (0 or 1).
void setVirtualDevices(int kind, std::vector<std::string> names);

/// The plug-ins registered so far, in order. One that has deleted itself stays in the list.
std::vector<NHALDEN20::IPluginCallbacks*>& registeredPlugins();

} // namespace minihost
