#include "inventory/options.h"
#include "inventory/output.h"
#include "inventory/outputfile.h"
#include "inventory/remarks.h"
#include "inventory/run.h"
#include "inventory/scratchdirectory.h"
#include "inventory/statusline.h"
#include "minihost/pluginlibrary.h"
#include "system/childprocess.h"
#include "text/forms.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

void writeError(const std::string& text) { std::cerr << "scsidev-inventory: " << text::escaped(text) << '\n'; }

void writeTables(const inventory::runResult& result, const inventory::runOptions& options, std::ostream& output) {
    const bool onTerminal = options.outputFile.empty() && ::isatty(STDOUT_FILENO) != 0;
    const char* const noColour = std::getenv("NO_COLOR"); // https://no-color.org: set and not empty
    const inventory::tableStyle style{options.allProperties,
                                      onTerminal ? inventory::terminalWidth(STDOUT_FILENO) : inventory::usualWidth,
                                      onTerminal && (noColour == nullptr || *noColour == '\0'), options.tree};
    options.showsOverview() ? inventory::writeOverview(result, style, output)
                            : inventory::writeTable(result, style, output);
}

void writeDocument(const inventory::runResult& result, const inventory::runOptions& options, std::ostream& output) {
    switch (options.format) {
    case inventory::outputFormat::table:
        return writeTables(result, options, output);
    case inventory::outputFormat::json:
        return inventory::writeJson(result, output);
    case inventory::outputFormat::mof:
        return inventory::writeMof(result, output);
    case inventory::outputFormat::prometheus:
        return inventory::writePrometheus(result, output);
    }
}

int show(const inventory::runOptions& options, std::ostream& output) {
    minihost::memoryNamespace ns;
    inventory::runResult result;
    result.simulated = !options.machineFile.empty();
    const std::string recorded = inventory::run(options, ns, result);
    const std::vector<std::string> remarks = inventory::remarksOn(result, inventory::exampleMachineFile);
    for (const auto& remark : remarks)
        result.addMessage(inventory::message::program, 0, remark);
    writeDocument(result, options, output);
    for (const auto& remark : remarks)
        std::cerr << text::escaped(remark) << '\n';
    std::cerr << recorded;
    if (result.error)
        writeError(*result.error);
    return result.status();
}

/// Prints what the command line asks for. Returns the exit status.
int print(const inventory::commandLine& line, std::ostream& output) {
    if (line.what == inventory::commandLine::outcome::run)
        return show(line.options, output);
    output << line.text;
    return inventory::completeInventory;
}

int printIntoFile(const inventory::commandLine& line) {
    if (line.options.outputFile == "/dev/null") {
        std::ostringstream nowhere;
        return print(line, nowhere);
    }
    const inventory::outputFile file(line.options.outputFile, inventory::outputFile::existing::isReplaced, 0666);
    std::ostringstream document;
    document.exceptions(std::ios::badbit); // or the document would end where memory does
    const int status = print(line, document);
    if (!document.str().empty()) // as tables are when the run fails before its first query
        file.write(document.str());
    return status;
}

/// Ends the program where nothing catches an exception, such as one that leaves a plug-in while it is loaded.
[[noreturn]] void endByException() {
    inventory::statusLine::eraseAtOnce();
    inventory::scratchDirectory::removeAtOnce();
    writeError(minihost::whatWasThrown());
    std::_Exit(inventory::failedRun);
}

// What users, timers and the system send to end a process, but for what its own faults cause.
constexpr int endingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGALRM,   SIGTERM, SIGUSR1,
                                 SIGUSR2, SIGXCPU, SIGPOLL, SIGVTALRM, SIGPROF, SIGPWR};
constexpr int writingSignals[] = {SIGPIPE, SIGXFSZ};

/// Calls only what is safe in a signal handler.
extern "C" void endTidily(int signal) {
    inventory::statusLine::eraseAtOnce();
    sys::endChildAtOnce();
    inventory::scratchDirectory::removeAtOnce();
    if (signal == SIGXCPU) {
        inventory::writeErrorAtOnce("scsidev-inventory: the CPU time that a limit gives it is used up\n");
        ::_exit(EXIT_FAILURE);
    }
    // As if there were no handler, so that the parent sees what ended the program.
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

/// From now on a signal that ends the program, unless it is ignored, ends its child and removes its temporary directory
/// first. A used-up limit of CPU time is a failure with a message; of file size, and a closed pipe, errors of writing.
void handleSignals() {
    struct sigaction ending {};
    ending.sa_handler = endTidily;
    // Without SA_RESETHAND, under which the same signal, sent once more, ends the process before the handler has begun.
    sigfillset(&ending.sa_mask);
    for (const int signal : endingSignals) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) // as it is under nohup
            ::sigaction(signal, &ending, nullptr);
    }
    for (const int signal : writingSignals)
        std::signal(signal, [](int /*signal*/) {}); // writing fails instead; children do not inherit a handler
}

/// Gives each standard descriptor that is closed something that can be neither read nor written. Or else the next file
/// that is opened would have its number: what goes to standard error would get into a document.
void holdStandardDescriptors() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(fd, F_GETFD) == -1)
            ::open("/", O_PATH);
    }
}

/// Makes descriptors, signals, locale and PATH what the run and its shell commands rely on, whatever the process
/// inherited.
void prepareProcess() {
    holdStandardDescriptors();
    std::signal(SIGCHLD, SIG_DFL); // if ignored, the exit statuses of children are lost
    handleSignals();
    std::set_terminate(endByException);
    ::setenv("LC_ALL", "C", 1); // in others grep leaves out lines with bytes that are no characters there
    const char* path = std::getenv("PATH");
    // modprobe and hwinfo are in directories that an ordinary user's PATH does not have.
    ::setenv("PATH", (std::string(path == nullptr ? "/usr/bin:/bin" : path) + ":/usr/sbin:/sbin").c_str(), 1);
}

int runCommandLine(int argc, char** argv) {
    const inventory::commandLine line = inventory::readCommandLine(argc, argv);
    if (line.what == inventory::commandLine::outcome::wrong) {
        writeError(line.text + " (try --help)");
        return inventory::wrongUsage;
    }
    return line.options.outputFile.empty() ? print(line, std::cout) : printIntoFile(line);
}

} // namespace

int main(int argc, char** argv) {
    try {
        prepareProcess();
        const int status = runCommandLine(argc, argv);
        if (std::cout.flush())
            return status;
        if (errno != EPIPE) // whoever ends a pipe knows it
            writeError(std::string("standard output cannot be written: ") + std::strerror(errno));
    } catch (const std::bad_alloc&) {
        std::cerr << "scsidev-inventory: out of memory\n"; // without a string, which would ask for more
    } catch (...) {
        writeError(minihost::whatWasThrown());
    }
    return inventory::failedRun;
}
