// SPDX-License-Identifier: MIT
#include "bench/peers/preload/real_calls.h"

#include <dlfcn.h>

namespace tavelo::bench {
namespace {

template <typename Function>
void find(Function*& function, const char* name) {
    function = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

RealCalls findAll() {
    RealCalls calls{};
    find(calls.open, "open");
    find(calls.openat, "openat");
    find(calls.close, "close");
    find(calls.dup, "dup");
    find(calls.dup2, "dup2");
    find(calls.dup3, "dup3");
    find(calls.fcntl, "fcntl");
    find(calls.ioctl, "ioctl");
    find(calls.read, "read");
    find(calls.mmap, "mmap");
    find(calls.fstat, "fstat");
    find(calls.syscall, "syscall");
    return calls;
}

} // namespace

const RealCalls& realCalls() {
    static const RealCalls calls = findAll();
    return calls;
}

} // namespace tavelo::bench
