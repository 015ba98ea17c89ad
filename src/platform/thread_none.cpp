#include "platform/thread.h"

// A system without threads.

bool hasThreads() {
    return false;
}

bool WorkerThread::start(std::function<void()>) {
    return false;
}

void WorkerThread::join() { // never started
    running_ = false;
    handle_ = 0;
}

void callOnLargeStack(const std::function<void()>& work) {
    work();
}

std::size_t usableCores() {
    return 1;
}

void nameThisThread(const char*) {}
