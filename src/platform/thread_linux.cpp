#include "platform/thread.h"

#include <pthread.h>
#include <sched.h>

std::size_t usableCores() {
    cpu_set_t cores;
    return sched_getaffinity(0, sizeof cores, &cores) == 0 ? std::size_t(CPU_COUNT(&cores)) : 1;
}

void nameThisThread(const char* name) {
    pthread_setname_np(pthread_self(), name);
}
