#include "platform/memory.h"

#include <sys/sysctl.h>

namespace SysMem {

std::uint64_t physicalBytes() {
    std::uint64_t bytes = 0;
    std::size_t size = sizeof bytes;
    return sysctlbyname("hw.memsize", &bytes, &size, nullptr, 0) == 0 ? bytes : 0;
}

} // namespace SysMem
