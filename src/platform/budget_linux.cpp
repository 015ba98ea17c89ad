#include "platform/budget_linux.h"

#include "platform/memory.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <vector>

#include <unistd.h>

namespace SysMem {

namespace {

constexpr std::uint64_t kKiB = 1024;

/// The number that a file holds; `missing` if it holds none ("max", for example) or is not there.
std::uint64_t numberIn(const std::string& path, std::uint64_t missing) {
    std::ifstream file(path);
    std::uint64_t value = 0;
    return file >> value ? value : missing;
}

/// The number behind a name at the beginning of a line; `missing` if there is no such line.
std::uint64_t numberOf(const std::string& path, const std::string& name, std::uint64_t missing) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string word;
        std::uint64_t value = 0;
        if (words >> word && word == name && words >> value)
            return value;
    }
    return missing;
}

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
    return a > kUnlimited - b ? kUnlimited : a + b;
}

/// How one version of control groups accounts for memory: names of files, and names within one.
struct Accounting {
    std::string mount; // where its groups are found
    std::string usage;
    std::vector<std::string> limits;    // above any of them processes are ended or held back
    std::vector<std::string> cacheKeys; // in memory.stat: cached files, given back when needed
};

/// What a group has left.
std::uint64_t roomIn(const std::string& folder, const Accounting& accounting) {
    std::uint64_t limit = kUnlimited;
    for (const std::string& name : accounting.limits)
        limit = std::min(limit, numberIn(folder + name, kUnlimited));
    if (limit == kUnlimited)
        return kUnlimited;
    std::uint64_t used = numberIn(folder + accounting.usage, 0);
    for (const std::string& key : accounting.cacheKeys)
        used -= std::min(used, numberOf(folder + "/memory.stat", key, 0));
    return limit - std::min(limit, used);
}

/// What a group and all groups around it have left. Within a container the path may name groups
/// that are not to be seen; those that are seen count.
std::uint64_t roomAround(const std::string& root, const std::string& group,
                         const Accounting& accounting) {
    std::string folder = root + accounting.mount + group;
    std::uint64_t room = kUnlimited;
    for (const std::size_t outermost = folder.size() - group.size();;
         folder.erase(folder.rfind('/'))) {
        room = std::min(room, roomIn(folder, accounting));
        if (folder.size() <= outermost)
            return room;
    }
}

/// What the control groups of this process leave it. The lines of the list read
/// "number:controllers:path", the path "/" for the outermost group.
std::uint64_t roomInGroups(const std::string& root) {
    const Accounting version1 = {"/sys/fs/cgroup/memory",
                                 "/memory.usage_in_bytes",
                                 {"/memory.limit_in_bytes"},
                                 {"total_inactive_file", "total_active_file"}};
    const Accounting version2 = {"/sys/fs/cgroup",
                                 "/memory.current",
                                 {"/memory.max", "/memory.high"},
                                 {"inactive_file", "active_file"}};
    std::ifstream list(root + "/proc/self/cgroup");
    std::string line;
    std::uint64_t room = kUnlimited;
    while (std::getline(list, line)) {
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos)
            continue;
        std::string controllers(",");
        controllers.append(line, first + 1, second - first - 1).append(",");
        std::string group = line.substr(second + 1);
        if (group.empty() || group.front() != '/')
            continue;
        if (group == "/")
            group.clear();
        if (controllers == ",,")
            room = std::min(room, roomAround(root, group, version2));
        else if (controllers.find(",memory,") != std::string::npos)
            room = std::min(room, roomAround(root, group, version1));
    }
    return room;
}

/// What this process holds. The second number of the file counts pages.
std::uint64_t heldBytes(const std::string& root) {
    std::ifstream file(root + "/proc/self/statm");
    std::uint64_t mapped = 0;
    std::uint64_t held = 0;
    const long pageSize = sysconf(_SC_PAGESIZE);
    return file >> mapped >> held ? held * static_cast<std::uint64_t>(pageSize) : 0;
}

} // namespace

std::uint64_t budgetBytesUnder(const std::string& root) {
    const std::uint64_t kilobytes =
        numberOf(root + "/proc/meminfo", "MemAvailable:", kUnlimited / kKiB);
    const std::uint64_t machine = kilobytes == kUnlimited / kKiB ? kUnlimited : kilobytes * kKiB;
    return sum(std::min(machine, roomInGroups(root)), heldBytes(root));
}

std::uint64_t budgetBytes() {
    return budgetBytesUnder("");
}

} // namespace SysMem
