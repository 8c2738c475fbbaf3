#include "tests/simulatedmachine.h"

#include <boost/make_shared.hpp>

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

/// A class of the host's that notes with what flag its instances are listed.
struct notingClass : NHALDEN20::ICIMClass {
    notingClass(boost::shared_ptr<NHALDEN20::ICIMClass> hosts, strings& toNotes) : real(hosts), notes(toNotes) {}
    const std::string& GetClassName(const NHALDEN20::TContext& context) override { return real->GetClassName(context); }
    boost::shared_ptr<NHALDEN20::ICIMInstance> CreateInstance(const NHALDEN20::TContext& context) override {
        return real->CreateInstance(context);
    }
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<NHALDEN20::ICIMInstance>)> callback, bool flag,
                            const NHALDEN20::TContext& context) override {
        notes.push_back(flag ? "true" : "false");
        real->EnumerateInstances(callback, flag, context);
    }
    boost::shared_ptr<NHALDEN20::ICIMClass> real;
    strings& notes;
};

/// Notes which classes are looked up, and with what contexts.
class notingNamespace : public minihost::memoryNamespace {
public:
    boost::shared_ptr<NHALDEN20::ICIMClass> GetClass(std::string name, NHALDEN20::TContext context) override {
        lookUps.push_back(name);
        for (const auto& [key, value] : context) {
            lookUps.push_back(key);
            lookUps.push_back(value);
        }
        return boost::make_shared<notingClass>(memoryNamespace::GetClass(name, context), lookUps);
    }

    strings lookUps;
};

} // namespace

TEST_F(Plugin, WithoutAnyClassDoesNothing) {
    EXPECT_EQ(query({}).size(), 0U);
    EXPECT_EQ(calls(), strings());
    EXPECT_EQ(takeLog(), strings());
}

TEST_F(Plugin, AnAllBlankProductEndsTheWalkAndLeavesRecordsForTheNextQuery) {
    sgNode("/dev/sg0", inquiry(13, "ACME", "FIRST"));
    sgNode("/dev/sg1", inquiry(0, "ACME", " \t "));
    sgNode("/dev/sg2", inquiry(13, "ACME", "THIRD"));
    EXPECT_EQ(query({scsi}).size(), 0U);
    const strings log = takeLog();
    EXPECT_THAT(log.back(), HasSubstr("0 basic_string::substr"));
    EXPECT_THAT(log, Not(Contains("3 Getting hd devices...")));

    machine().nodes.erase("/dev/sg0");
    machine().nodes.erase("/dev/sg1");
    EXPECT_EQ(each(query({scsi}), "ProductID"), (strings{"FIRST", "THIRD"}));
}

TEST_F(Plugin, LooksClassesUpInThePluginsContext) {
    sgNode("/dev/sg0", inquiry(13, "ACME", "X"));
    notingNamespace noting;
    for (const auto& name : {element, firmware}) {
        auto requested = classes({name});
        plugin_->GetData(noting.handle(), requested);
    }
    EXPECT_EQ(noting.lookUps, (strings{element, "nspID", "plugin", "KORVA_SysBusDevice", "nspID", "plugin", "true",
                                       element, "nspID", "plugin", "true"}));
    plugin_.reset(); // which has instances of that namespace
}
