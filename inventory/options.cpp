#include "inventory/options.h"

#include "inventory/output.h"
#include "inventory/words.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <limits>
#include <map>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace inventory {

namespace {

const std::map<std::string, outputFormat> formats{{"table", outputFormat::table},
                                                  {"json", outputFormat::json},
                                                  {"mof", outputFormat::mof},
                                                  {"prometheus", outputFormat::prometheus}};

/// A flag that is given at most once and takes no value. The help leaves out which option it needs: its description
/// says so.
CLI::Option* addFlag(CLI::App& app, const char* name, bool& flag, const char* description) {
    return app.add_flag(name, flag, description)->option_text(" ")->multi_option_policy(CLI::MultiOptionPolicy::Throw);
}

CLI::Option* addFile(CLI::App& app, const char* name, std::string& file, const char* description) {
    const auto refuseEmpty = [](const std::string& path) {
        return std::string(path.empty() ? "expected a file name" : "");
    };
    return app.add_option(name, file, description)->type_name("FILE")->option_text("FILE")->check(refuseEmpty);
}

std::string checkVirtualDevice(const std::string& text) {
    const std::string kind = text.substr(0, 2);
    return kind == "0=" || kind == "1=" ? "" : "expected 0=TEXT or 1=TEXT, found '" + text + "'";
}

void describeOutput(CLI::App& app, runOptions& options) {
    const auto setFormat = [&options](const std::string& name) {
        options.format = formats.at(name);
    };
    app.add_option_function<std::string>("--format", setFormat,
                                         "table, json, mof or prometheus (default: table); a table\n"
                                         "leaves out the /dev/ before nodes and becomes narrower, but\n"
                                         "is never cut")
        ->option_text("FORMAT")
        ->check(CLI::IsMember(formats));
    addFile(app, "--output", options.outputFile, "Write the whole document into this file, or nothing");
    addFlag(app, "--tree", options.tree, "Show the devices by adapter, channel, target and LUN");
    addFlag(app, "--all-properties", options.allProperties, "Show tables by class, and below each all properties");
    app.add_option("--log-level", options.logLevel,
                   "Print log messages up to this level on standard error:\n"
                   "0 failures, 1 malformed input, 3 trace (default: 1)")
        ->option_text("N")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()));
}

void describeMachine(CLI::App& app, runOptions& options) {
    const auto addVirtualDevices = [&options](const std::vector<std::string>& texts) {
        for (const auto& text : texts)
            options.virtualDevices[text[0] == '0' ? sys::virtualDisk : sys::virtualOpticalDrive].push_back(
                text.substr(2));
    };
    app.add_option_function<std::vector<std::string>>("--virtual-device", addVirtualDevices,
                                                      "Name a virtual device of the management controller that is\n"
                                                      "left out: 0=DISK-NODE or 1=OPTICAL-DRIVE; repeatable")
        ->type_name("KIND=TEXT")
        ->allow_extra_args(false)
        ->check(checkVirtualDevice);
    addFile(app, "--machine", options.machineFile, "Show the simulated machine of this file instead");
    auto* const record = addFile(app, "--record", options.recordFile,
                                 "Record this machine's answers into a machine file, for a\n"
                                 "bug report; serial numbers are part of it");
    addFlag(app, "--anonymize", options.anonymize,
            "Let --record replace serial numbers, world wide names and the\n"
            "host name by others like them, and leave out what else it can")
        ->needs(record);
    addFile(app, "--anonymize-key", options.anonymizeKeyFile,
            "Anonymize too, with equal replacements for equal texts in all\n"
            "recordings that are made with the key in this file")
        ->needs(record);
    addFlag(app, "--force", options.force, "Let --record replace the file")->needs(record);
    addFlag(app, "--ask-again", options.askAgain,
            "Ask the devices anew for every query; otherwise later\n"
            "queries get the answers that the first one got");
}

void describe(CLI::App& app, commandLine& line, std::vector<std::string>& queries) {
    app.set_version_flag("-V,--version", "scsidev-inventory " SCSIDEV_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    auto* const query = app.add_option("QUERY", queries,
                                       "Class names with commas between them, in any case: one query\n"
                                       "for these classes, by the rules of the first. Default: one\n"
                                       "query for each class; a table then has one line a device")
                            ->option_text("TEXT ...");
    describeOutput(app, line.options);
    describeMachine(app, line.options);
    addFile(app, "--plugin", line.options.plugin, "Load this plug-in instead of libscsidev.pi.so");
    const auto setSchema = [&line](const std::string& format) {
        std::ostringstream schema;
        schema.exceptions(std::ios::badbit); // or it would end where memory does
        format == "json" ? writeJsonSchema(schema) : writeMofSchema(schema);
        line.what = commandLine::outcome::text;
        line.text = schema.str();
    };
    app.add_option_function<std::string>("--schema", setSchema,
                                         "Print the class declarations (mof, the default) or the\n"
                                         "schema of JSON documents (json), and nothing else")
        ->option_text("[FORMAT]")
        ->expected(0, 1)
        ->check(CLI::IsMember({"", "json", "mof"}))
        ->excludes(query);
    app.footer("Short names of classes:\n" + shortNameLines() +
               "\nExamples:\n"
               "  sudo scsidev-inventory scsi tape\n"
               "  scsidev-inventory --machine " +
               exampleMachineFile());
}

/// Refuses a value for a flag, some of which the parser takes: --force=true, --force=false.
void refuseFlagValues(const CLI::App& app, const std::vector<std::string>& words) {
    for (const auto& word : words) {
        const std::string name = word.substr(0, word.find('='));
        const CLI::Option* const option = app.get_option_no_throw(name);
        if (option != nullptr && name != word && option->get_items_expected_max() == 0)
            throw std::runtime_error(name + ": takes no value");
    }
}

/// Names the first word of the command line that is no option, and the nearest one that is.
std::string unknownOption(const CLI::App& app) {
    const std::string word = app.remaining().front();
    std::vector<std::string> known;
    for (const CLI::Option* const option : app.get_options())
        known.push_back(option->get_name());
    return "unknown option '" + word + "'" + didYouMean(word.substr(0, word.find('=')), known);
}

/// Would both be the same file? Their directory can have several names, by links and by mounts.
bool isSameFile(const std::filesystem::path& one, const std::filesystem::path& other) {
    namespace fs = std::filesystem;
    const auto directoryOf = [](const fs::path& file) {
        return file.has_parent_path() ? file.parent_path() : fs::path(".");
    };
    std::error_code ignored;
    return one.filename() == other.filename() && fs::equivalent(directoryOf(one), directoryOf(other), ignored);
}

/// Refuses what the parser cannot know.
void checkTogether(const runOptions& options) {
    if (options.allProperties && options.format != outputFormat::table)
        throw std::runtime_error("--all-properties goes with tables only");
    if (options.tree && !options.showsOverview())
        throw std::runtime_error("--tree goes with the overview only: a table without QUERY");
    if (!options.outputFile.empty() && isSameFile(options.outputFile, options.recordFile))
        throw std::runtime_error("--output: names the file of --record");
}

commandLine parse(int argc, const char* const* argv) {
    commandLine result;
    std::vector<std::string> queries;
    CLI::App app("Shows the SCSI, ATA and optical devices of a machine and their firmware.", "scsidev-inventory");
    describe(app, result, queries);
    try {
        refuseFlagValues(app, {argv + 1, argv + argc});
        app.parse(argc, argv);
        result.options.namesClasses = !queries.empty();
        checkTogether(result.options);
        for (const auto& query : queries)
            result.options.queries.push_back(parseQuery(query));
        return result;
    } catch (const CLI::CallForHelp&) {
        return {commandLine::outcome::text, {}, app.help() + '\n'};
    } catch (const CLI::CallForVersion& version) {
        return {commandLine::outcome::text, {}, version.what() + std::string("\n")};
    } catch (const CLI::ExtrasError&) {
        return {commandLine::outcome::wrong, {}, unknownOption(app)};
    } catch (const std::runtime_error& wrong) {
        return {commandLine::outcome::wrong, {}, wrong.what()};
    }
}

/// The directory of this program.
std::filesystem::path programDirectory() {
    constexpr const char* self = "/proc/self/exe";
    std::error_code failure;
    const auto program = std::filesystem::read_symlink(self, failure);
    if (failure)
        throw std::runtime_error(std::string(self) + ": cannot be read: " + failure.message() +
                                 ", expected the path of this program");
    return program.parent_path();
}

/// The file where it is installed, or else where it is in a build or in the repository.
std::string installedOr(const std::filesystem::path& installed, const std::filesystem::path& otherwise) {
    std::error_code ignored;
    return (std::filesystem::exists(installed, ignored) ? installed.lexically_normal() : otherwise).string();
}

} // namespace

std::string exampleMachineFile() {
    const std::string name = "machines/rack-server.json";
    return installedOr(programDirectory() / SCSIDEV_DATA_DIRECTORY / name, name);
}

commandLine readCommandLine(int argc, const char* const* argv) {
    commandLine result = parse(argc, argv);
    if (result.what != commandLine::outcome::run)
        return result;
    runOptions& options = result.options;
    options.anonymize = options.anonymize || !options.anonymizeKeyFile.empty();
    const std::string& file = options.outputFile;
    if (file == "-" || file == "/dev/stdout" || file == "/dev/fd/1")
        options.outputFile.clear();
    if (options.queries.empty())
        options.queries = defaultQueries();
    if (options.plugin.empty()) {
        const std::string name = "libscsidev.pi.so";
        options.plugin = installedOr(programDirectory() / SCSIDEV_LIBRARY_DIRECTORY / name, programDirectory() / name);
    }
    options.pluginPath = std::filesystem::absolute(options.plugin).string();
    return result;
}

} // namespace inventory
