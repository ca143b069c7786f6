// _beginthread on a detached POSIX thread.
#include <limits.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "process.h"

namespace {

struct StartRequest {
    void (*start)(void*);
    void* argument;
};

void* RunThread(void* raw) {
    const std::unique_ptr<StartRequest> request(static_cast<StartRequest*>(raw));
    request->start(request->argument);
    return nullptr;
}

// The requested size rounded up to whole pages and at least the system's minimum.
size_t StackSize(unsigned requested) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t rounded = (requested + page - 1) / page * page;
    const auto minimum = static_cast<size_t>(PTHREAD_STACK_MIN);
    return rounded < minimum ? minimum : rounded;
}

}  // namespace

uintptr_t _beginthread(void (*start_address)(void*), unsigned stack_size, void* arglist) {
    constexpr auto kFailed = static_cast<uintptr_t>(-1);
    if (!start_address) {
        errno = EINVAL;
        return kFailed;
    }
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        errno = EAGAIN;
        return kFailed;
    }
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    int rc = stack_size ? pthread_attr_setstacksize(&attributes, StackSize(stack_size)) : 0;
    auto request = std::make_unique<StartRequest>(StartRequest{start_address, arglist});
    pthread_t thread{};
    if (rc == 0) rc = pthread_create(&thread, &attributes, RunThread, request.get());
    pthread_attr_destroy(&attributes);
    if (rc != 0) {
        errno = rc == EINVAL ? EINVAL : EAGAIN;
        return kFailed;
    }
    request.release();  // the thread owns it now
    return static_cast<uintptr_t>(thread);
}
