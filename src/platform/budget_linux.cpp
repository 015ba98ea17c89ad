#include "platform/budget_linux.h"

#include "platform/file.h"
#include "platform/memory.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace SysMem {

namespace {

constexpr std::uint64_t kKiB = 1024;

/// What a file holds; nothing if it is not there.
std::string contentOf(const std::string& path) {
    std::string content;
    const OwnedFile file(std::fopen(path.c_str(), "r"));
    if (!file)
        return content;
    char block[4096];
    while (const std::size_t count = std::fread(block, 1, sizeof block, file.get()))
        content.append(block, count);
    return content;
}

/// Takes the first line off a text.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

/// Takes the first word off a text; none is left if it is empty.
std::string_view takeWord(std::string_view& text) {
    constexpr std::string_view kBlanks = " \t\n";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

/// The number that a word is; `missing` if it is none ("max", for example).
std::uint64_t numberFrom(std::string_view word, std::uint64_t missing) {
    std::uint64_t value = 0;
    const auto error = std::from_chars(word.data(), word.data() + word.size(), value).ec;
    return error == std::errc{} ? value : missing;
}

/// The number that a file begins with; `missing` if there is none.
std::uint64_t numberIn(const std::string& path, std::uint64_t missing) {
    const std::string content = contentOf(path);
    std::string_view text = content;
    return numberFrom(takeWord(text), missing);
}

/// The number behind a name at the beginning of a line; `missing` if there is no such line.
std::uint64_t numberOf(const std::string& path, std::string_view name, std::uint64_t missing) {
    const std::string content = contentOf(path);
    for (std::string_view text = content; !text.empty();) {
        std::string_view line = takeLine(text);
        if (takeWord(line) == name)
            return numberFrom(takeWord(line), missing);
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
    const std::string list = contentOf(root + "/proc/self/cgroup");
    std::uint64_t room = kUnlimited;
    for (std::string_view text = list; !text.empty();) {
        const std::string_view line = takeLine(text);
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (first == std::string_view::npos || second == std::string_view::npos)
            continue;
        std::string controllers(",");
        controllers.append(line, first + 1, second - first - 1).append(",");
        std::string group(line.substr(second + 1));
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
    const std::string content = contentOf(root + "/proc/self/statm");
    std::string_view text = content;
    takeWord(text);
    return numberFrom(takeWord(text), 0) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
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
