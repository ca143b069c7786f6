// Thread start in the C runtime's way: the worker threads of long runs are begun with
// _beginthread, as the runtime's <process.h> declares it.
#pragma once

#include <cstdint>

// Starts start_address(arglist) on a new, detached thread with at least stack_size bytes of
// stack (0 for the default). The thread ends when the function returns; an exception escaping it
// ends the process. Returns an identifier of the thread (not a waitable handle), or
// (uintptr_t)-1 with errno EINVAL for a NULL function or EAGAIN when no thread can be started.
// Any thread may call it.
uintptr_t _beginthread(void (*start_address)(void*), unsigned stack_size, void* arglist);
