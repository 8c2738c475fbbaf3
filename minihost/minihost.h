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
/// that the class of its instance does not declare with this type, each time that it is set.
void setRemarkSink(remarkSink sink);

/// The plug-ins registered so far, in order. One that has deleted itself stays in the list.
std::vector<NHALDEN20::IPluginCallbacks*>& registeredPlugins();

} // namespace minihost
