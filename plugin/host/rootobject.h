#pragma once

#include <boost/shared_ptr.hpp>

#include <string>

namespace [[gnu::visibility("default")]] NHALDEN20 {

class ICIMNamespace;

/// The host's log.
class ILogger {
public:
    /// Writes one message. 0: a step failed; 1: malformed input was skipped; 3: progress and trace.
    virtual void Log(int level, const std::string& text) = 0;

    ILogger() = default;
    ILogger(const ILogger&) = delete;
    ILogger& operator=(const ILogger&) = delete;
    virtual ~ILogger();
};

/// The host's entry points.
class TRootObject {
public:
    /// The host's logger, owned by the host, never null. Fetched anew for every message.
    static ILogger* GetCoreLogger();

    /// The plug-in manager: an object that is a TPluginManagerNamespace.
    static boost::shared_ptr<ICIMNamespace> GetPluginManager();
};

} // namespace NHALDEN20
