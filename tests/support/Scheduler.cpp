#include "Scheduler.h"

#include <Mox/Hash.h>
#include <Mox/SchedulingPoint.h>

#include <atomic>
#include <string_view>

#include <sys/prctl.h>
#include <time.h>

namespace {

using Mox::U64;

std::atomic<U64> currentRound{0};
std::atomic<U64> threads{0};
std::atomic<U64> delayed{0};

/// Random numbers of the calling thread, others in each round.
U64 nextRandom(U64 round) noexcept {
    thread_local U64 const number = threads.fetch_add(1) + 1;
    thread_local U64 state = 0;
    state = Mox::hashWord(state + number + round);
    return state;
}

void sleep(long microseconds) noexcept {
    timespec const time{0, microseconds * 1000};
    ::nanosleep(&time, nullptr);
}

} // namespace

void Scheduler::roundIs(U64 round) noexcept {
    ::prctl(PR_SET_TIMERSLACK, 1); // of this thread and of those that it creates: 1 nanosecond
    currentRound = round;
}

U64 Scheduler::delays() noexcept {
    return delayed;
}

/// One point in four is chosen in a round, so that a thread waits at one step while others run
/// through all of theirs.
void Mox::schedulingPoint(char const* step) noexcept {
    U64 const round = currentRound.load(std::memory_order_relaxed);
    if (round == 0) {
        return;
    }
    U64 hash = round;
    for (char const letter : std::string_view(step)) {
        hash = Mox::hashWord(hash + static_cast<U64>(letter));
    }
    U64 const random = nextRandom(round);
    if (hash % 4 != 0 || random % 4 != 0) {
        return;
    }
    delayed.fetch_add(1, std::memory_order_relaxed);
    // Not sched_yield(): on a loaded machine, the thread would wait for slices of other processes.
    sleep(random / 4 % 8 == 0 ? static_cast<long>(1 + random / 32 % 32) : 1);
}
