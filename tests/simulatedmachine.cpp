#include "tests/simulatedmachine.h"

#include "minihost/cimcontent.h"
#include "minihost/minihost.h"
#include "tests/scarcememory.h"

#include <sys/wait.h>
#include <unistd.h>

#include <iterator>
#include <utility>

namespace fs = std::filesystem;

namespace {

/// The object that the plug-in created when this program was loaded, as it does for any host.
struct loadedPlugin {
    NHALDEN20::IPluginCallbacks* callbacks = minihost::registeredPlugins().at(0);
    ~loadedPlugin() { callbacks->PrepareForUnload(); }
} loaded;

std::string padded(std::string text, std::size_t size) {
    text.resize(size, ' ');
    return text;
}

sys::bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

} // namespace

std::size_t openDescriptors() {
    const fs::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

simulation::simulation(sys::machineAnswers answers)
    : simulated_(std::move(answers)),
      descriptors_(openDescriptors()),
      before_(fs::current_path()),
      directory_(fs::temp_directory_path() / ("scsidev-unit-test-" + std::to_string(::getpid()))) {
    fs::create_directory(directory_);
    fs::current_path(directory_);
    minihost::setLogSink([this](int level, const std::string& text) {
        const scarceMemory::pause memory;
        log_.push_back(std::to_string(level) + ' ' + text);
    });
    minihost::setRemarkSink([](const std::string& text) { ADD_FAILURE() << "the host remarks: " << text; });
}

simulation::~simulation() {
    EXPECT_EQ(simulated_.openDescriptors(), 0U) << "every node is closed again";
    EXPECT_EQ(openDescriptors(), descriptors_);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
    EXPECT_THAT(calls(), testing::Not(testing::Contains(testing::HasSubstr("unknown"))));
    minihost::setLogSink(nullptr);
    minihost::setRemarkSink(nullptr);
    fs::current_path(before_);
    fs::remove_all(directory_);
}

sys::node& simulation::sgNode(const std::string& path, const sys::scsiAnswer& inquiry) {
    sys::node& node = at(path);
    node.sgVersion = sys::numberAnswer{30536, 0};
    node.emulated = sys::numberAnswer{0, 0};
    node.inquiry = inquiry;
    return node;
}

strings simulation::takeLog() { return std::exchange(log_, {}); }

TScsidevPluginCallbacks::classList pluginInUse::classes(const strings& names) {
    TScsidevPluginCallbacks::classList list;
    for (const auto& name : names)
        list.push_back(namespace_.GetClass(name, {}));
    return list;
}

void pluginInUse::ask(const strings& classNames) {
    auto requested = classes(classNames);
    plugin_->GetData(ns(), requested);
}

std::vector<properties> pluginInUse::query(const strings& classNames) {
    const std::size_t before = committed();
    ask(classNames);
    return committedAfter(before);
}

std::vector<properties> pluginInUse::committedAfter(std::size_t first) const {
    std::vector<properties> result;
    for (std::size_t i = first; i < committed(); ++i) {
        const auto& instance = *namespace_.instances()[i];
        properties texts{{"class", std::string(instance.declaration().name)}};
        for (const auto& [name, value] : instance.properties())
            texts[name] = minihost::valueText(value);
        result.push_back(texts);
    }
    return result;
}

strings pluginInUse::each(const std::vector<properties>& instances, const std::string& name) {
    strings values;
    for (const auto& instance : instances)
        values.push_back(instance.count(name) != 0 ? instance.at(name) : "(unset)");
    return values;
}

NHALDEN20::TCIMValue listOf(std::initializer_list<NHALDEN20::TCIMValue> elements) {
    return {NHALDEN20::kCIMStringArray, 0, std::vector<NHALDEN20::TCIMValue>(elements)};
}

sys::scsiAnswer inquiry(unsigned char peripheralByte, const std::string& vendor, const std::string& product) {
    sys::scsiAnswer answer;
    answer.data = bytesOf(std::string("\0\0\5\2\37\0\0\0", 8) + padded(vendor, 8) + padded(product, 16) + "0001");
    answer.data[0] = peripheralByte;
    return answer;
}

sys::scsiAnswer serialPage(const std::string& serialNumber) {
    sys::scsiAnswer answer;
    answer.data = bytesOf(std::string("\0\x80\0", 3) + static_cast<char>(serialNumber.size()) + serialNumber);
    return answer;
}

sys::scsiAnswer check(unsigned char key, unsigned char asc, unsigned char ascq) {
    sys::scsiAnswer answer;
    answer.sense = {0x70, 0, key, 0, 0, 0, 0, 10, 0, 0, 0, 0, asc, ascq, 0, 0, 0, 0};
    answer.status = 2;
    answer.maskedStatus = 1;
    answer.driverStatus = 8;
    answer.info = 1;
    return answer;
}

sys::driveAnswer identify(const std::string& model) {
    const std::string text = padded(model, 40);
    sys::driveAnswer answer;
    answer.data.assign(512, 0);
    for (std::size_t i = 0; i < text.size(); ++i)
        answer.data[54 + (i ^ 1U)] = static_cast<unsigned char>(text[i]);
    return answer;
}
