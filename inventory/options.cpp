#include "inventory/options.h"

#include "inventory/classnames.h"
#include "inventory/usage.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <system_error>

namespace inventory {

namespace {

const std::map<std::string, outputFormat> formats{{"table", outputFormat::table},
                                                  {"json", outputFormat::json},
                                                  {"mof", outputFormat::mof},
                                                  {"prometheus", outputFormat::prometheus}};

template <typename Range, typename Name>
std::vector<std::string> namesOf(const Range& range, Name name) {
    std::vector<std::string> names;
    for (const auto& element : range)
        names.emplace_back(name(element));
    return names;
}

void addVirtualDevice(const std::string& text, runOptions& options) {
    if (text.size() < 2 || (text[0] != '0' && text[0] != '1') || text[1] != '=')
        throw usageError("--virtual-device: expected 0=TEXT or 1=TEXT, found '" + text + "'");
    options.virtualDevices[text[0] - '0'].push_back(text.substr(2));
}

int parseLogLevel(const std::string& text) {
    int level = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, level);
    if (error != std::errc() || rest != end || level < 0)
        throw usageError("--log-level: expected a whole number from 0 up, found '" + text + "'");
    return level;
}

/// The file that an option names; "" where the option was not given.
std::string fileOf(const CLI::App& app, const char* option) {
    const CLI::Option* const given = app.get_option(option);
    if (given->count() == 0)
        return "";
    auto path = given->as<std::string>();
    if (path.empty())
        throw usageError(std::string(option) + ": a file name is missing");
    return path;
}

/// The path of a file that belongs to this program: in a build beside the program, once installed in the program's
/// library directory. Where the file is in neither, the path beside the program.
std::string installedFile(const std::string& name) {
    namespace fs = std::filesystem;
    const fs::path directory = fs::read_symlink("/proc/self/exe").parent_path();
    const fs::path beside = directory / name;
    const fs::path installed = directory / SCSIDEV_LIBRARY_DIRECTORY / name;
    std::error_code ignored;
    const bool isInstalled = !fs::exists(beside, ignored) && fs::exists(installed, ignored);
    return (isInstalled ? installed : beside).string();
}

/// What CLI11 reads before it is checked further.
struct rawOptions {
    std::vector<std::string> queries;
    std::vector<std::string> virtualDevices;
    std::string format = "table";
    std::string logLevel = "1";
    std::string file; // CLI11 wants a variable for an option: all file names share it, and fileOf() asks the option
    std::string schema;
};

void describe(CLI::App& app, runOptions& options, rawOptions& raw) {
    app.option_defaults()->take_last(); // and checkCounts() refuses what was given more than once
    app.set_version_flag("-V,--version", "scsidev-inventory " SCSIDEV_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.add_option("QUERY", raw.queries,
                   "Class names with commas between them, in any case: one query\n"
                   "for these classes in this order. Default: one query for each\n"
                   "class, devices first, then their firmware");
    app.add_option("--format", raw.format,
                   "table, json, mof or prometheus (default: table); a table\n"
                   "leaves out the /dev/ before nodes and becomes narrower, but\n"
                   "is never cut")
        ->type_name("FORMAT");
    app.add_option("--output", raw.file, "Write the whole document into this file, or nothing")->type_name("FILE");
    app.add_flag("--all-properties", options.allProperties, "Below each table, list every property of each instance");
    app.add_option("--log-level", raw.logLevel,
                   "Print log messages up to this level on standard error:\n"
                   "0 failures, 1 malformed input, 3 trace (default: 1)")
        ->type_name("N");
    app.add_option("--virtual-device", raw.virtualDevices,
                   "Name a virtual device of the management controller that is\n"
                   "left out: 0=DISK-NODE or 1=OPTICAL-DRIVE; repeatable")
        ->type_name("KIND=TEXT")
        ->allow_extra_args(false);
    app.add_option("--machine", raw.file, "Show the simulated machine of this file instead")->type_name("FILE");
    app.add_option("--record", raw.file,
                   "Record this machine's answers into a machine file, for a\n"
                   "bug report; serial numbers are part of it")
        ->type_name("FILE");
    app.add_flag("--anonymize", options.anonymize,
                 "Let --record replace serial numbers, the host name and the\n"
                 "names of virtual devices by others like them");
    app.add_option("--anonymize-key", raw.file,
                   "Anonymize too, with equal replacements for equal texts in all\n"
                   "recordings that are made with the key in this file")
        ->type_name("FILE");
    app.add_flag("--force", options.force, "Let --record replace the file");
    app.add_flag("--ask-again", options.askAgain,
                 "Ask the devices anew for every query; otherwise later\n"
                 "queries get the answers that the first one got");
    app.add_option("--plugin", raw.file, "Load this plug-in instead of libscsidev.pi.so")->type_name("FILE");
    app.add_option("--schema", raw.schema,
                   "Print the class declarations (mof, the default) or the\n"
                   "schema of JSON documents (json), and nothing else")
        ->type_name("[FORMAT]")
        ->expected(0, 1);
    app.footer("Short names of classes:\n" + shortNameLines() +
               "\nExamples:\n"
               "  scsidev-inventory scsi,tape\n"
               "  scsidev-inventory --machine machines/rack-server.json --format json");
}

/// Names the first word of the command line that is no option, and the nearest one that is.
std::string unknownOption(const CLI::App& app) {
    const std::string word = app.remaining().empty() ? "" : app.remaining().front();
    const auto known = namesOf(app.get_options(), [](const CLI::Option* option) { return option->get_name(); });
    return "unknown option '" + word + "'" + didYouMean(word.substr(0, word.find('=')), known);
}

void checkCounts(const CLI::App& app) {
    for (const CLI::Option* const option : app.get_options()) {
        if (option->count() > 1 && option->get_expected_max() <= 1)
            throw usageError(option->get_name() + ": given more than once");
    }
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

commandLine::outcome parseSchema(const CLI::App& app, const rawOptions& raw) {
    if (app.count("--schema") == 0)
        return commandLine::outcome::run;
    if (!raw.queries.empty())
        throw usageError("--schema: takes no QUERY, found '" + raw.queries.front() + "'");
    if (raw.schema == "json")
        return commandLine::outcome::jsonSchema;
    if (!raw.schema.empty() && raw.schema != "mof")
        throw usageError("--schema: expected one of json, mof, found '" + raw.schema + "'" +
                         didYouMean(raw.schema, {"json", "mof"}));
    return commandLine::outcome::mofSchema;
}

void check(const CLI::App& app, const rawOptions& raw, runOptions& options) {
    const auto format = formats.find(raw.format);
    if (format == formats.end()) {
        const auto known = namesOf(formats, [](const auto& candidate) { return candidate.first; });
        throw usageError("--format: expected one of " + joined(known) + ", found '" + raw.format + "'" +
                         didYouMean(raw.format, known));
    }
    options.format = format->second;
    if (options.allProperties && options.format != outputFormat::table)
        throw usageError("--all-properties goes with tables only");
    options.logLevel = parseLogLevel(raw.logLevel);
    for (const auto& query : raw.queries)
        options.queries.push_back(parseQuery(query));
    for (const auto& device : raw.virtualDevices)
        addVirtualDevice(device, options);
    options.machineFile = fileOf(app, "--machine");
    options.recordFile = fileOf(app, "--record");
    options.anonymizeKeyFile = fileOf(app, "--anonymize-key");
    if (!options.anonymizeKeyFile.empty() && options.recordFile.empty())
        throw usageError("--anonymize-key goes with --record only");
    if (options.anonymize && options.recordFile.empty())
        throw usageError("--anonymize goes with --record only");
    options.anonymize = options.anonymize || !options.anonymizeKeyFile.empty();
    if (options.force && options.recordFile.empty())
        throw usageError("--force goes with --record only");
    options.plugin = fileOf(app, "--plugin");
    options.outputFile = fileOf(app, "--output");
    if (!options.outputFile.empty() && !options.recordFile.empty() &&
        isSameFile(options.outputFile, options.recordFile))
        throw usageError("--output: names the file of --record");
}

commandLine parse(int argc, const char* const* argv) {
    commandLine result;
    rawOptions raw;
    CLI::App app("Shows the SCSI, ATA and optical devices of a machine and their firmware as CIM instances.",
                 "scsidev-inventory");
    describe(app, result.options, raw);
    try {
        app.parse(argc, argv);
        checkCounts(app);
        result.what = parseSchema(app, raw);
        check(app, raw, result.options);
    } catch (const CLI::CallForHelp&) {
        result.what = commandLine::outcome::help;
        result.text = app.help();
    } catch (const CLI::CallForVersion& version) {
        result.what = commandLine::outcome::help;
        result.text = version.what();
    } catch (const CLI::ExtrasError&) {
        result.what = commandLine::outcome::wrong;
        result.text = unknownOption(app);
    } catch (const CLI::ArgumentMismatch& wrong) {
        const std::string text = wrong.what(); // "--option: ...", of which only the name is kept
        result.what = commandLine::outcome::wrong;
        result.text = text.substr(0, text.find(':')) + ": a value is missing";
    } catch (const std::runtime_error& wrong) {
        result.what = commandLine::outcome::wrong;
        result.text = wrong.what();
    }
    return result;
}

} // namespace

std::string exampleMachineFile() {
    namespace fs = std::filesystem;
    const std::string name = "machines/rack-server.json";
    std::error_code ignored;
    const fs::path program = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    const fs::path installed = (program / SCSIDEV_DATA_DIRECTORY / name).lexically_normal();
    return fs::exists(installed, ignored) ? installed.string() : name;
}

commandLine readCommandLine(int argc, const char* const* argv) {
    commandLine result;
    if (argc > 1) // to describe the options to CLI11 takes longer than to repeat a query
        result = parse(argc, argv);
    if (result.what != commandLine::outcome::run)
        return result;
    runOptions& options = result.options;
    if (options.queries.empty())
        options.queries = defaultQueries();
    if (options.plugin.empty())
        options.plugin = installedFile("libscsidev.pi.so");
    options.pluginPath = std::filesystem::absolute(options.plugin).string();
    return result;
}

} // namespace inventory
