#pragma once

#ifdef __linux__
#include <pthread.h>
#endif

namespace ravo::server {

// Names the calling thread as `top -H`, `ps -L` and /proc show it (15 characters at most),
// so an operator sees which of the checker's threads is busy.
inline void nameThisThread(const char* name) {
#ifdef __linux__
    pthread_setname_np(pthread_self(), name);
#else
    (void)name;
#endif
}

} // namespace ravo::server
