#include "inventory/askedmachine.h"
#include "inventory/escape.h"
#include "inventory/jsonoutput.h"
#include "inventory/mofoutput.h"
#include "inventory/options.h"
#include "inventory/remarks.h"
#include "inventory/run.h"
#include "inventory/signals.h"
#include "inventory/statusline.h"
#include "inventory/tableoutput.h"
#include "minihost/pluginlibrary.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>

namespace {

constexpr int succeeded = 0, failed = 1, wrongUsage = 2;

void writeError(const std::string& text) { std::cerr << "scsidev-inventory: " << inventory::escaped(text) << '\n'; }

/// Runs the queries. The log goes to standard error and, on a terminal, a line that says what is done right now.
inventory::runResult runVisibly(const inventory::options& options, inventory::askedMachine& machine,
                                minihost::memoryNamespace& ns, inventory::remarks& remarks) {
    inventory::statusLine status;
    return inventory::run(options, machine, ns,
                          {[&](const std::string& step) { status.show(step); },
                           [&](int level, const std::string& text) {
                               remarks.sawMessage(level, text);
                               if (level <= options.logLevel)
                                   status.write('[' + std::to_string(level) + "] " + inventory::escaped(text) + '\n');
                               status.show(text);
                           },
                           [&](const std::string& text) {
                               status.write("remark: " + inventory::escaped(text) + '\n');
                           }});
}

void writeResult(const inventory::runResult& result, const inventory::options& options) {
    switch (options.format) {
    case inventory::outputFormat::table:
        inventory::writeTable(result, {options.allProperties, inventory::terminalWidth(STDOUT_FILENO)}, std::cout);
        break;
    case inventory::outputFormat::json:
        inventory::writeJson(result, std::cout);
        break;
    case inventory::outputFormat::mof:
        inventory::writeMof(result, std::cout);
        break;
    }
}

int show(const inventory::options& options) {
    inventory::askedMachine machine(options);
    minihost::memoryNamespace ns;
    inventory::remarks remarks;
    const inventory::runResult result = runVisibly(options, machine, ns, remarks);
    writeResult(result, options);
    remarks.write(result, machine, std::cerr);
    machine.writeRecording();
    if (result.failed())
        writeError("the query failed: " + *result.queries.back().error);
    return result.failed() ? failed : succeeded;
}

/// Makes signals and PATH what the run and its shell commands rely on, whatever the process inherited.
void prepareProcess() {
    std::signal(SIGCHLD, SIG_DFL); // if ignored, the exit statuses of children are lost
    inventory::handleSignals();
    const char* path = std::getenv("PATH");
    // modprobe and hwinfo are in directories that an ordinary user's PATH does not have.
    ::setenv("PATH", (std::string(path == nullptr ? "/usr/bin:/bin" : path) + ":/usr/sbin:/sbin").c_str(), 1);
}

int runCommandLine(int argc, char** argv) {
    const inventory::commandLine line = inventory::readCommandLine(argc, argv);
    switch (line.what) {
    case inventory::commandLine::outcome::help:
        std::cout << line.text << '\n';
        return succeeded;
    case inventory::commandLine::outcome::schema:
        inventory::writeMofSchema(std::cout);
        return succeeded;
    case inventory::commandLine::outcome::wrong:
        writeError(line.text + " (try --help)");
        return wrongUsage;
    case inventory::commandLine::outcome::run:
        break;
    }
    return show(line.options);
}

} // namespace

int main(int argc, char** argv) {
    try {
        prepareProcess();
        const int status = runCommandLine(argc, argv);
        if (std::cout.flush())
            return status;
        writeError(std::string("standard output cannot be written: ") + std::strerror(errno));
    } catch (const std::bad_alloc&) {
        std::cerr << "scsidev-inventory: out of memory\n"; // without a string, which would ask for more
    } catch (...) {
        writeError(minihost::whatWasThrown());
    }
    return failed;
}
