#include "inventory/recording.h"

#include "system/anonymize.h"
#include "system/machinefile.h"
#include "system/pseudonyms.h"
#include "text/forms.h"

#include <sys/stat.h>

namespace inventory {

namespace {

constexpr const char* recordedTexts =
    ": the host name, every answer of the device nodes with vendors, models and serial numbers,\n"
    "what the kernel knows of the devices, the optical-drive table, the USB listing and the names of virtual\n"
    "devices; look through it before you give it away\n";

constexpr const char* anonymousTexts =
    "\nreplaced: serial numbers, world wide names but for their makers, the host name\n"
    "kept: vendors, products, firmware, sizes, node paths, the kernel's names, addresses, statuses and sense data\n"
    "left out: everything else\n"
    "this run's output and log have the originals; those of --machine on this file do not\n";

} // namespace

recording::recording(const runOptions& options)
    : isAnonymous_(options.anonymize),
      key_(isAnonymous_ ? sys::pseudonymKey(options.anonymizeKeyFile) : ""),
      file_(options.recordFile, options.force ? outputFile::existing::isReplaced : outputFile::existing::isKept,
            S_IRUSR | S_IWUSR) {} // it tells serial numbers

std::string recording::write(sys::recordedMachine& recorded) const {
    sys::machineAnswers machine = recorded.wholeMachine();
    if (isAnonymous_)
        machine = sys::anonymize(std::move(machine), key_);
    file_.write(sys::machineFileText(machine));
    return "recorded in " + text::escaped(file_.path()) + (isAnonymous_ ? anonymousTexts : recordedTexts);
}

} // namespace inventory
