#pragma once

#include "system/machineanswers.h"

#include <string>
#include <vector>

namespace inventory {

enum class outputFormat { table, json, mof, prometheus };

/// What the command line asks for. File names are as typed.
struct runOptions {
    std::vector<std::vector<std::string>> queries; ///< class names, one list a query
    outputFormat format = outputFormat::table;
    bool allProperties = false; ///< of each instance, in a table
    bool namesClasses = false;  ///< the queries were named on the command line
    bool tree = false;          ///< the overview as a tree
    int logLevel = 1;
    sys::virtualDeviceLists virtualDevices; ///< named on the command line
    std::string machineFile;                ///< empty: this machine
    std::string plugin;
    std::string pluginPath;       ///< the same, absolute: it is loaded from the run's own working directory
    std::string outputFile;       ///< empty: standard output
    std::string recordFile;       ///< empty: nothing is recorded
    bool anonymize = false;       ///< what is recorded
    std::string anonymizeKeyFile; ///< empty: replacements are the recording's own
    bool force = false;           ///< the file to record into may be replaced
    bool askAgain = false;        ///< the devices, for every query

    /// Is the result shown as one line a device?
    bool showsOverview() const { return format == outputFormat::table && !namesClasses && !allProperties; }
};

/// What a command line comes to: a run with options, or a text to print.
struct commandLine {
    enum class outcome { run, text, wrong };

    outcome what = outcome::run;
    runOptions options;
    std::string text; ///< what is printed instead of a run, or what is wrong
};

/// A machine file to try: where one is installed, or else where it is in the repository.
std::string exampleMachineFile();

/// Reads a command line. Throws std::system_error when the working directory or the program's own path is unknown.
commandLine readCommandLine(int argc, const char* const* argv);

} // namespace inventory
