#include "platform/console.h"
#include "platform/console_web.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>

#include <emscripten.h>

namespace {

/// What the script has sent and nobody has read yet. It never ends: a worker ends by being told to.
struct Input {
    std::mutex mutex;
    std::condition_variable arrived;
    std::string text;
};

Input& input() {
    static Input gInput;
    return gInput;
}

} // namespace

namespace Console {

void addInput(std::string_view text) {
    const std::lock_guard lock(input().mutex);
    input().text += text;
    input().arrived.notify_one();
}

std::optional<std::size_t> read(std::span<char> space) {
    Input& from = input();
    std::unique_lock lock(from.mutex);
    from.arrived.wait(lock, [&] { return !from.text.empty(); });
    const std::size_t count = std::min(space.size(), from.text.size());
    std::copy_n(from.text.begin(), count, space.begin());
    from.text.erase(0, count);
    return count;
}

bool isInterrupted() {
    return false;
}

void tellBegin() {
    MAIN_THREAD_EM_ASM({ Module["begin"](); });
}

void tellEnd(int status) {
    MAIN_THREAD_EM_ASM({ Module["end"]($0); }, status);
}

} // namespace Console
