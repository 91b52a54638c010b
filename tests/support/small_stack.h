/// Runs a function on a thread with a small stack, to test that the depth of a tree doesn't determine the use of stack.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

namespace testing_support {

inline constexpr std::size_t kSmallStackBytes = 256 * 1024;

inline void RunOnSmallStack(std::function<void()> work, std::size_t stackBytes = kSmallStackBytes) {
    pthread_attr_t attributes;
    pthread_t thread;
    const auto run = [](void* context) -> void* {
        (*static_cast<std::function<void()>*>(context))();
        return nullptr;
    };
    if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, stackBytes) != 0 ||
        pthread_create(&thread, &attributes, run, &work) != 0) {
        throw std::runtime_error("can't start a thread with a small stack");
    }
    pthread_attr_destroy(&attributes);
    pthread_join(thread, nullptr);
}

}   // namespace testing_support
