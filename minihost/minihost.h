#pragma once

#include "plugin/host/plugincallbacks.h"

#include <functional>
#include <string>
#include <vector>

/// The minimal host: what it does for the plug-in is the contract's (plugin/host/); here stands what the
/// program that embeds it sets and reads. One host per process, one thread.
namespace minihost {

using logSink = std::function<void(int level, const std::string& text)>;

/// Sends every log message to `sink` from now on; without one, messages are dropped.
void setLogSink(logSink sink);

using remarkSink = std::function<void(const std::string& text)>;

/// Sends the host's own remarks to `sink` from now on; without one, they are dropped. A property that an
/// instance is given and its class does not declare, or declares of another type, is remarked on: once for
/// each class and property in a namespace.
void setRemarkSink(remarkSink sink);

/// What TOSSpecific::getOrvexVirtualDevices answers for `kind` (0 or 1).
void setVirtualDevices(int kind, std::vector<std::string> names);

/// The plug-ins registered so far, in order. Objects that deleted themselves are not taken off the list.
std::vector<NHALDEN20::IPluginCallbacks*>& registeredPlugins();

} // namespace minihost
