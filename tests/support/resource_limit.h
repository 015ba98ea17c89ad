#pragma once

#include <sys/resource.h>

#include <stdexcept>

/// Lets the process have no more of a resource (RLIMIT_STACK, for example) than `amount`; the limit
/// from before returns at the end.
class ResourceLimit {
  public:
    ResourceLimit(int resource, rlim_t amount) : resource_(resource) {
        getrlimit(resource_, &before_);
        const rlimit limit{amount, before_.rlim_max};
        if (setrlimit(resource_, &limit) != 0)
            throw std::runtime_error("cannot set a limit");
    }
    ~ResourceLimit() { setrlimit(resource_, &before_); }
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

  private:
    int resource_;
    rlimit before_{};
};
