#pragma once

#include <sys/resource.h>

// The most that the process may use of a resource while it lives.
class ResourceLimit {
 public:
  ResourceLimit(__rlimit_resource_t limitedResource, rlim_t amount) : resource(limitedResource) {
    getrlimit(resource, &old);
    const rlimit limit{amount, old.rlim_max};
    setrlimit(resource, &limit);
  }
  ~ResourceLimit() { setrlimit(resource, &old); }

 private:
  __rlimit_resource_t resource;
  rlimit old{};
};
