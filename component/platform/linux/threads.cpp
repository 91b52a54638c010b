// Critical sections on recursive mutexes, sleeping and thread numbers.

#include <component/platform/threads.h>

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <new>

namespace platform {
namespace {

static_assert(sizeof(pthread_mutex_t) <= kCriticalSectionBytes, "the system's record must fit");
static_assert(alignof(pthread_mutex_t) <= alignof(CriticalSection));

pthread_mutex_t* MutexOf(CriticalSection* section) {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(section->record));
}

}   // namespace

void InitializeCriticalSection(CriticalSection* section) {
    pthread_mutexattr_t recursive;
    pthread_mutexattr_init(&recursive);
    pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (section->record) pthread_mutex_t, &recursive);
    pthread_mutexattr_destroy(&recursive);
}

void EnterCriticalSection(CriticalSection* section) { pthread_mutex_lock(MutexOf(section)); }

void LeaveCriticalSection(CriticalSection* section) { pthread_mutex_unlock(MutexOf(section)); }

void DeleteCriticalSection(CriticalSection* section) { pthread_mutex_destroy(MutexOf(section)); }

void Sleep(std::uint32_t milliseconds) {
    timespec remaining{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &remaining, &remaining) == EINTR) {
    }
}

std::uint32_t GetCurrentThreadId() { return static_cast<std::uint32_t>(gettid()); }

}   // namespace platform
