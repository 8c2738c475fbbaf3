#include "inventory/words.h"

#include "minihost/classtable.h"
#include "plugin/cimnames.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace inventory {

namespace {

constexpr std::pair<const char*, const char*> shortNames[] = {
    {"scsi", scsiDeviceClass},      {"tape", tapeDriveClass},           {"ata", ataDeviceClass},
    {"optical", opticalDriveClass}, {"firmware", firmwareElementClass}, {"associations", firmwareClass},
};

std::string classCalled(const std::string& name) {
    std::vector<std::string> known;
    for (const auto& declaration : minihost::classTable()) {
        known.emplace_back(declaration.name);
        if (boost::iequals(name, known.back()))
            return known.back();
    }
    const std::string classes = boost::join(known, ", ");
    for (const auto& [word, className] : shortNames) {
        known.emplace_back(word);
        if (boost::iequals(name, known.back()))
            return className;
    }
    throw std::runtime_error("unknown class '" + name + "'" + didYouMean(name, known) + "; the classes are " + classes);
}

/// Levenshtein distance.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char wanted : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (wanted == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> parseQuery(const std::string& query) {
    std::vector<std::string> classes;
    boost::split(classes, query, [](char c) { return c == ','; });
    for (auto& name : classes) {
        if (name.empty())
            throw std::runtime_error("an empty class name in the query '" + query + "'");
        name = classCalled(name);
    }
    return classes;
}

std::vector<std::vector<std::string>> defaultQueries() {
    std::vector<std::vector<std::string>> queries;
    for (const auto& declaration : minihost::classTable()) {
        if (!declaration.isAbstract)
            queries.push_back({std::string(declaration.name)});
    }
    return queries;
}

std::string shortNameLines() {
    std::ostringstream lines;
    for (const auto& [word, className] : shortNames)
        lines << "  " << std::left << std::setw(14) << word << className << '\n';
    return lines.str();
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t least = word.size() / 3 + 1;
    for (const auto& candidate : known) {
        const std::size_t changes = distance(boost::to_lower_copy(word), boost::to_lower_copy(candidate));
        if (changes < least) {
            least = changes;
            nearest = candidate;
        }
    }
    return nearest.empty() ? "" : " (did you mean " + nearest + "?)";
}

} // namespace inventory
