// A complete host for the collector: loads it, asks it for one class after the other and prints every property of the
// instances that it commits.
//
//   c++ -std=c++17 -I/usr/include/scsidev -rdynamic -o example-host example-host.cpp -ldl
//   sudo ./example-host /usr/lib/x86_64-linux-gnu/scsidev-inventory/libscsidev.pi.so KORVA_SCSIDevice KORVA_CDVDDevice

#include "plugin/host/cimclass.h"
#include "plugin/host/ciminstance.h"
#include "plugin/host/osspecific.h"
#include "plugin/host/plugincallbacks.h"
#include "plugin/host/pluginmanager.h"
#include "plugin/host/rootobject.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/enable_shared_from_this.hpp>
#include <boost/make_shared.hpp>

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

using namespace NHALDEN20;

// The interfaces' type information comes with these definitions: host and plug-in have to share it.
ICIMNamespace::~ICIMNamespace() = default;
TPluginManagerNamespace::~TPluginManagerNamespace() = default;
ICIMClass::~ICIMClass() = default;
ICIMInstance::~ICIMInstance() = default;
ICIMPropertyHandle::~ICIMPropertyHandle() = default;
IPluginCallbacks::~IPluginCallbacks() = default;
IPluginBasicQueryCallbacks::~IPluginBasicQueryCallbacks() = default;
ILogger::~ILogger() = default;

// References and values. What they hold is the host's decision; here it is what can be printed.
struct TCIMReference::TContent {
    std::string path;
};
TCIMReference::TCIMReference(boost::shared_ptr<ICIMNamespace>, TContext) : content_(new TContent) {}
TCIMReference::TCIMReference(const TCIMReference& other) : content_(new TContent(*other.content_)) {}
TCIMReference& TCIMReference::operator=(const TCIMReference& other) {
    content_ = std::make_unique<TContent>(*other.content_);
    return *this;
}
TCIMReference::~TCIMReference() = default;

struct TCIMValue::TContent {
    std::string text;
    bool isText;
    std::vector<TCIMValue> elements;
};
TCIMValue::TCIMValue() : content_(new TContent{"", false, {}}) {}
TCIMValue::TCIMValue(const std::string& text) : content_(new TContent{text, true, {}}) {}
TCIMValue::TCIMValue(const char* text) : TCIMValue(std::string(text)) {}
TCIMValue::TCIMValue(bool flag) : content_(new TContent{flag ? "true" : "false", false, {}}) {}
TCIMValue::TCIMValue(unsigned short number) : content_(new TContent{std::to_string(number), false, {}}) {}
TCIMValue::TCIMValue(TCIMReference& reference) : TCIMValue(reference.Content().path) {}
TCIMValue::TCIMValue(TCIMType, unsigned, const std::vector<TCIMValue>& list)
    : content_(new TContent{"", false, list}) {}
TCIMValue::TCIMValue(const TCIMValue& other) : content_(new TContent(*other.content_)) {}
TCIMValue& TCIMValue::operator=(const TCIMValue& other) {
    content_ = std::make_unique<TContent>(*other.content_);
    return *this;
}
TCIMValue::~TCIMValue() = default;
TCIMValue::operator std::string() const { return content_->text; }
TCIMValue::operator std::vector<TCIMValue>&() { return content_->elements; }

std::ostream& operator<<(std::ostream& output, const TCIMValue& value) {
    const TCIMValue::TContent& content = value.Content();
    if (content.isText)
        return output << std::quoted(content.text);
    const char* separator = "[";
    for (const TCIMValue& element : content.elements)
        output << std::exchange(separator, ", ") << element;
    return output << content.text << (content.elements.empty() ? "" : "]");
}

/// Bytes of a device could drive the terminal: those that are not printable become \u00XX, as in JSON.
std::string printable(const std::string& text) {
    std::ostringstream result;
    for (const char c : text) {
        if (c >= ' ' && c <= '~')
            result << c;
        else
            result << "\\u" << std::hex << std::setw(4) << std::setfill('0') << int{static_cast<unsigned char>(c)};
    }
    return result.str();
}

// The namespace: classes with their keys, and the instances committed so far.
struct declaration {
    std::string name, base;
    std::vector<std::string> keys;
};
const std::vector<std::string> deviceKeys{"CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName"};
const std::vector<std::string> firmwareKeys{"Name", "SoftwareElementId", "SoftwareElementState",
                                            "TargetOperatingSystem", "Version"};
const std::vector<declaration> declarations{
    {"KORVA_SysBusDevice", "", deviceKeys},
    {"KORVA_SCSIDevice", "KORVA_SysBusDevice", deviceKeys},
    {"KORVA_SCSITapeDrive", "KORVA_SysBusDevice", deviceKeys},
    {"KORVA_ATADevice", "KORVA_SysBusDevice", deviceKeys},
    {"KORVA_CDVDDevice", "", deviceKeys},
    {"KORVA_SysBusDeviceFirmwareElement", "", firmwareKeys},
    {"KORVA_SysBusDeviceFirmware", "", {"Antecedent", "Dependent"}},
};
std::vector<boost::shared_ptr<struct instance>> committed; // the plug-in reads some of them back in later queries

struct cimClass : ICIMClass {
    explicit cimClass(const declaration& declared) : declared_(declared) {}
    const std::string& GetClassName(const TContext&) override { return declared_.name; }
    boost::shared_ptr<ICIMInstance> CreateInstance(const TContext&) override;
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, bool,
                            const TContext&) override;
    const declaration& declared_;
};

struct property : ICIMPropertyHandle {
    explicit property(const TCIMValue& value) : value_(value) {}
    TCIMValue GetValue() override { return value_; }
    TCIMValue value_;
};

struct instance : ICIMInstance, boost::enable_shared_from_this<instance> {
    explicit instance(const declaration& declared) : declared_(declared) {}

    TCIMReference GetReference(const TContext&) override {
        std::ostringstream path;
        path << declared_.name;
        for (const auto& key : declared_.keys)
            path << (key == declared_.keys.front() ? '.' : ',') << key << '=' << values_[key];
        TCIMReference reference({}, {});
        reference.Content().path = path.str();
        return reference;
    }
    boost::shared_ptr<ICIMClass> GetInstanceClass(const TContext&) override {
        return boost::make_shared<cimClass>(declared_);
    }
    boost::shared_ptr<ICIMPropertyHandle> GetPropertyHandle(const std::string& name, const TContext&) override {
        return boost::make_shared<property>(values_[name]);
    }
    void SetProperty(const std::string& name, const TCIMValue& value, const TContext&) override {
        values_[name] = value;
    }
    void CommitToClass(const TContext&) override { committed.push_back(shared_from_this()); }

    const declaration& declared_;
    TContext values_;
};

boost::shared_ptr<ICIMInstance> cimClass::CreateInstance(const TContext&) {
    return boost::make_shared<instance>(declared_);
}
void cimClass::EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, bool,
                                  const TContext&) {
    for (const auto& each : committed) {
        const bool ofThisClass = each->declared_.name == declared_.name || each->declared_.base == declared_.name;
        if (ofThisClass && !callback(each))
            return;
    }
}

struct memoryNamespace : ICIMNamespace {
    boost::shared_ptr<ICIMClass> GetClass(std::string name, TContext) override {
        for (const auto& declared : declarations) {
            if (declared.name == name)
                return boost::make_shared<cimClass>(declared);
        }
        throw std::invalid_argument("unknown class " + name);
    }
};

// Entry points and services.
IPluginCallbacks* registered = nullptr;

struct pluginManager : TPluginManagerNamespace {
    boost::shared_ptr<ICIMClass> GetClass(std::string, TContext) override { throw std::logic_error("no classes"); }
};
void TPluginManagerNamespace::RegisterPlugin(IPluginCallbacks* plugin) { registered = plugin; }
boost::shared_ptr<ICIMNamespace> TRootObject::GetPluginManager() { return boost::make_shared<pluginManager>(); }

struct logger : ILogger {
    void Log(int level, const std::string& text) override {
        if (level <= 1)
            std::cerr << printable(text) << '\n';
    }
};
ILogger* TRootObject::GetCoreLogger() {
    static logger instance;
    return &instance;
}

std::string TOSSpecific::CaptureFile(std::string path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
std::string TOSSpecific::SpawnProcess(std::string command, std::vector<std::string> arguments, int timeout) {
    std::string line = "timeout " + std::to_string(timeout) + " " + command;
    for (const auto& argument : arguments)
        line += " '" + boost::replace_all_copy(argument, "'", "'\\''") + "'";
    std::FILE* pipe = ::popen(line.c_str(), "r");
    std::string output;
    for (int c; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;)
        output += static_cast<char>(c);
    if (pipe != nullptr)
        ::pclose(pipe);
    return output;
}
std::string TOSSpecific::GetMachineName() {
    char name[256] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}
bool TOSSpecific::getOrvexVirtualDevices(int, std::vector<std::string>&, bool) { return true; } // none here

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: example-host PLUGIN CLASS...\n";
        return 2;
    }
    const auto ns = boost::make_shared<memoryNamespace>();
    std::vector<boost::shared_ptr<ICIMClass>> classes;
    try {
        for (int i = 2; i < argc; ++i)
            classes.push_back(ns->GetClass(argv[i], {}));
    } catch (const std::invalid_argument& unknown) {
        std::cerr << printable(unknown.what()) << '\n';
        return 2;
    }
    void* const library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL); // registers the plug-in
    if (library == nullptr) {
        std::cerr << printable(::dlerror()) << '\n';
        return 1;
    }
    char scratch[] = "/tmp/example-host-XXXXXX"; // Init writes a file into the working directory
    if (::mkdtemp(scratch) == nullptr || ::chdir(scratch) != 0)
        return 1;
    auto& collector = dynamic_cast<IPluginBasicQueryCallbacks&>(*registered);
    registered->Init();
    for (const auto& each : classes) {
        std::vector<boost::shared_ptr<ICIMClass>> requested{each};
        collector.GetData(ns, requested);
    }
    registered->DeInit();
    registered->PrepareForUnload();
    ::dlclose(library);
    for (const auto& each : committed) {
        std::cout << each->declared_.name << '\n';
        for (const auto& [name, value] : each->values_) {
            std::ostringstream shown;
            shown << name << " = " << value;
            std::cout << "  " << printable(shown.str()) << '\n';
        }
    }
    return ::rmdir(scratch);
}
