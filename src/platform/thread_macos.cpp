#include "platform/thread.h"

#include <algorithm>
#include <thread>

#include <pthread.h>

std::size_t usableCores() {
    return std::max(1U, std::thread::hardware_concurrency());
}

void nameThisThread(const char* name) {
    pthread_setname_np(name);
}
