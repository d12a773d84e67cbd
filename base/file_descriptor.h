#pragma once

#include <unistd.h>

namespace ravo {

// An open file descriptor, closed when this goes.
struct FileDescriptor {
    int fd = -1;
    explicit FileDescriptor(int f = -1) : fd(f) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (fd >= 0)
            ::close(fd);
    }
    explicit operator bool() const { return fd >= 0; }
    int release() {
        const int f = fd;
        fd = -1;
        return f;
    }
};

} // namespace ravo
