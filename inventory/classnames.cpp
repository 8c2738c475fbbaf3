#include "inventory/classnames.h"

#include "inventory/usage.h"
#include "minihost/classtable.h"
#include "plugin/cimnames.h"

#include <cstddef>
#include <sstream>

namespace inventory {

namespace {

struct shortName {
    const char *word, *className;
};

constexpr shortName shortNames[] = {
    {"scsi", scsiDeviceClass},      {"tape", tapeDriveClass},           {"ata", ataDeviceClass},
    {"optical", opticalDriveClass}, {"firmware", firmwareElementClass}, {"associations", firmwareClass},
};

std::vector<std::string> classNames() {
    std::vector<std::string> names;
    for (const auto& declaration : minihost::classTable())
        names.emplace_back(declaration.name);
    return names;
}

std::string classCalled(const std::string& name) {
    std::vector<std::string> known = classNames();
    const std::string lower = inLowerCase(name);
    for (const auto& candidate : known) {
        if (inLowerCase(candidate) == lower)
            return candidate;
    }
    const std::string classes = joined(known);
    for (const auto& candidate : shortNames) {
        if (candidate.word == lower)
            return candidate.className;
        known.emplace_back(candidate.word);
    }
    throw usageError("unknown class '" + name + "'" + didYouMean(name, known) + "; the classes are " + classes);
}

} // namespace

std::vector<std::string> parseQuery(const std::string& query) {
    std::vector<std::string> classes;
    std::istringstream names(query + ',');
    for (std::string name; std::getline(names, name, ',');) {
        if (name.empty())
            throw usageError("an empty class name in the query '" + query + "'");
        classes.push_back(classCalled(name));
    }
    return classes;
}

std::vector<std::vector<std::string>> defaultQueries() {
    std::vector<std::vector<std::string>> queries;
    for (const auto& declaration : minihost::classTable()) {
        if (declaration.kind != minihost::classKind::abstract)
            queries.push_back({std::string(declaration.name)});
    }
    return queries;
}

std::string shortNameLines() {
    constexpr std::size_t width = 14; // of the longest and two blanks
    std::string lines;
    for (const auto& name : shortNames) {
        std::string word = name.word;
        word.resize(width, ' ');
        lines += "  " + word + name.className + '\n';
    }
    return lines;
}

} // namespace inventory
