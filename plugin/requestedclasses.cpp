#include "plugin/scsidev_linux.h"

#include "plugin/cimnames.h"

#include <algorithm>

using NHALDEN20::TContext;

bool TScsidevPluginCallbacks::wasRequested(classList& requested, std::string className,
                                           boost::shared_ptr<NHALDEN20::ICIMInstance>& instance) {
    const auto match = std::find_if(requested.begin(), requested.end(), [&className](const auto& candidate) {
        return candidate->GetClassName(TContext()) == className;
    });
    if (match == requested.end())
        return false;
    instance = (*match)->CreateInstance(TContext());
    if (className != firmwareClass)
        instance->SetProperty(creationClassNameProperty, className, TContext());
    return true;
}
