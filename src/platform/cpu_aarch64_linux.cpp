#include "platform/cpu.h"

#include <sys/auxv.h>

namespace Instructions {

Report readReport() {
    Report report;
    report.words[Capabilities] = getauxval(AT_HWCAP);
    report.words[Capabilities2] = getauxval(AT_HWCAP2);
    return report;
}

} // namespace Instructions
